// SPDX-License-Identifier: MIT
#pragma once

#include <QString>

/// A directory that stands in for "/" and the working directory, with the few files of a dashboard
/// that the plug-in looks for.
class TrialRoot
{
public:
    explicit TrialRoot(const QString &directory) : m_directory(directory) {}

    /// Whether nothing has been prepared yet. What is there is never changed.
    bool isNew() const;

    /// Writes the settings files: the working directory's, and those that lead to the CD volume.
    /// Throws Failure.
    void prepareSettings() const;

    /// Makes the directory of the plug-in's files, with a "Config.xml". Throws Failure.
    void prepareDataDirectory(const QString &dataDirectory) const;

private:
    QString settingsFile() const;

    const QString m_directory;
};
