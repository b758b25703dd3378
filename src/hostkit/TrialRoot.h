// SPDX-License-Identifier: MIT
#pragma once

#include <QString>

/// A directory that is used in place of "/" and of the working directory, with the files of a
/// dashboard that the plug-in reads.
class TrialRoot
{
public:
    explicit TrialRoot(const QString &directory) : m_directory(directory) {}

    /// Returns whether the directory has not been prepared. Existing files are never changed.
    bool isNew() const;

    /// Writes the settings file of the working directory and the settings files that lead to the
    /// CD volume. Throws Failure.
    void prepareSettings() const;

    /// Creates the directory of the plug-in's files with a "Config.xml". Throws Failure.
    void prepareDataDirectory(const QString &dataDirectory) const;

private:
    QString settingsFile() const;

    const QString m_directory;
};
