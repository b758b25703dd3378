// SPDX-License-Identifier: MIT
#pragma once

#include "devsrv/DeviceServiceControl.h"

#include <QStringList>
#include <QTemporaryDir>

/// A system of a test's own: the fixed locations and the working directory lie below a fresh
/// directory, and the plug-in's data directory is there.
class TestRoot
{
public:
    TestRoot();
    ~TestRoot();

    QString path(const QString &below = {}) const { return m_directory.filePath(below); }
    QString report() const { return dataFile(QStringLiteral("UpdateRule.dat")); }
    QString config() const { return dataFile(QStringLiteral("Config.xml")); }
    QString dataFile(const QString &name) const;

    /// Writes a file below the root, and the directories above it.
    void write(const QString &file, const QByteArray &content) const;

private:
    QTemporaryDir m_directory;
    QString m_workingDirectory;
};

/// The log lines that come while the object lives; times are replaced by "T", warnings begin with
/// "W ".
class LogCapture
{
public:
    LogCapture();
    ~LogCapture();
    QStringList lines() const;
};

/// The control table of the device service, running on the named card with a fresh journal.
const DeviceServiceControl &startCard(const char *card = "lte");

/// The calls in the emulated card's journal.
QStringList journal();

/// Makes one function of the device service fail, or behave badly, until the card is started anew.
void setFault(const char *function, const DevSrvFault &fault);

QByteArray readFile(const QString &file);
