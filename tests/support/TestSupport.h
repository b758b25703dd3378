// SPDX-License-Identifier: MIT
#pragma once

#include "devsrv/DeviceServiceControl.h"

#include <QStringList>
#include <QTemporaryDir>

/// A system root of the test's own: while the object lives, the fixed locations and the working
/// directory are below a fresh temporary directory, in which the plug-in's data directory exists.
class TestRoot
{
public:
    TestRoot();
    ~TestRoot();

    QString path(const QString &below = {}) const { return m_directory.filePath(below); }
    QString report() const { return dataFile(QStringLiteral("UpdateRule.dat")); }
    QString config() const { return dataFile(QStringLiteral("Config.xml")); }
    QString dataFile(const QString &name) const;

    /// Writes a file, whose name is absolute or relative to the root, and creates the missing
    /// directories above it.
    void write(const QString &file, const QByteArray &content) const;

private:
    QTemporaryDir m_directory;
    QString m_workingDirectory;
};

/// Returns how often something that depends on chance is repeated: with a sanitizer, which is some
/// ten times slower, a tenth as often.
constexpr int repeats(int times)
{
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
    return times / 10;
#else
    return times;
#endif
}

/// Captures the log while the object lives. Times are replaced by "T", and warnings begin with
/// "W ". Thread-safe.
class LogCapture
{
public:
    LogCapture();
    ~LogCapture();
    QStringList lines() const;
};

/// Starts the device service on the named emulated card, with an empty journal, and returns the
/// service's control table.
const DeviceServiceControl &startCard(const char *card = "lte");

/// Returns the calls in the emulated card's journal.
QStringList journal();

/// Injects a fault into a function of the device service until the next startCard().
void setFault(const char *function, const DevSrvFault &fault);
