// SPDX-License-Identifier: MIT
#pragma once

#include <QString>
#include <QStringList>

/// The command of the child process. It is not listed for users.
inline constexpr char kConformanceCommand[] = "conformance";

/// The result of one check of a device service.
struct ConformanceResult
{
    enum class Mark { Passed, Failed, Untried };

    QString name;
    Mark mark;
    QString detail; ///< the values, what is wrong, or why it was not tried
};

/// Tries a device service with the whole list, each check in a child process of its own. Nothing is
/// sent, and the card's settings stay as they are. `sdk` is a file of DeviceServiceLibrary::find()
/// that can be loaded.
QList<ConformanceResult> checkConformance(const QString &sdk);

/// Is the child process: takes the file and a row of the list as arguments and never returns.
[[noreturn]] void runConformance(const QStringList &arguments);
