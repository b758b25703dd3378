// SPDX-License-Identifier: MIT
#pragma once

#include <QDateTime>
#include <QList>
#include <QString>

#include <optional>
#include <utility>

/// The values of a report by element path ("Client/Command/Network/PLMN"), in the order of the
/// file.
using ReportValues = QList<std::pair<QString, QString>>;

/// Returns the values of a report, or nothing if the XML is not well-formed.
std::optional<ReportValues> reportValues(const QByteArray &xml);

/// Returns the value at a path, or an empty text if there is none.
QString valueOf(const ReportValues &values, const QString &path);

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

/// Returns one sentence that says why a file in the plug-in's directory could not be written, for
/// example which directory or which right is missing, and what to do.
QString whyNotWritten(const QString &file);

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
