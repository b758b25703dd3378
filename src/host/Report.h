// SPDX-License-Identifier: MIT
#pragma once

#include <QDateTime>
#include <QList>
#include <QString>

#include <optional>
#include <utility>

/// The values of a report by element path ("Client/Command/Network/PLMN"), in the file's order.
using ReportValues = QList<std::pair<QString, QString>>;

/// Reads the report's values from XML; nothing if it is not well-formed.
std::optional<ReportValues> reportValues(const QByteArray &xml);

/// A file at one moment, to tell later whether it has been written.
struct FileState
{
    explicit FileState(const QString &file);
    bool exists;
    QDateTime modified;
    qint64 size;
    bool operator==(const FileState &) const = default;
};

/// Why a file in the plug-in's directory could not be written: which directory is missing, which
/// right is lacking. One sentence with what to do.
QString whyNotWritten(const QString &file);

/// What "Config.xml" says of the lock, at one moment.
struct ConfigState
{
    explicit ConfigState(const QString &file);
    FileState file;
    bool readable;
    QStringList simLocks; ///< of each `HistoryData` that has one
};

/// What one run of the plug-in did to "Config.xml", in one line for people.
QString configChange(const ConfigState &before, const ConfigState &after);
