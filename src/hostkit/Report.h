// SPDX-License-Identifier: MIT
#pragma once

#include "NamedValues.h"

#include <QDateTime>

#include <optional>

/// The values of a report by element path ("Client/Command/Network/PLMN"), in the order of the
/// file.
using ReportValues = NamedValues;

/// Returns the values of a report, or nothing if the XML is not well-formed.
std::optional<ReportValues> reportValues(const QByteArray &xml);

/// The state of a file at one moment. Two of them differ if the file was written in between.
struct FileState
{
    explicit FileState(const QString &file);
    bool exists;
    QDateTime modified;
    qint64 size;
    bool operator==(const FileState &) const = default;
};

/// A report and its values.
struct WrittenReport
{
    QByteArray xml;
    ReportValues values;
};

/// Returns the report if it was written after `previous` and is complete; otherwise nothing.
std::optional<WrittenReport> readWrittenReport(const QString &file, const FileState &previous);

/// Why a file in the plug-in's directory could not be written.
struct Obstacle
{
    const char *code; ///< one of kObstacleCodes
    QString message;  ///< one sentence: for example which right is missing, and what to do
};

/// The codes of obstacles, for programs. They do not change.
inline constexpr const char *kObstacleCodes[] = {"no-right", "no-directory", "not-a-file",
                                                 "disk-full", "unknown"};

/// Returns the obstacle, which is "unknown" if none is visible.
Obstacle obstacle(const QString &file);

/// Returns the message of obstacle().
inline QString whyNotWritten(const QString &file)
{
    return obstacle(file).message;
}

/// The SIM-lock state in "Config.xml" at one moment.
struct ConfigState
{
    explicit ConfigState(const QString &file);
    FileState file;
    bool readable;
    QStringList simLocks; ///< the state in each `HistoryData` that has one
};

/// Returns one line for people that says how "Config.xml" changed between two moments.
QString configChange(const ConfigState &previous, const ConfigState &current);
