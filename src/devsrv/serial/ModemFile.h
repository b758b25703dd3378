// SPDX-License-Identifier: MIT
#pragma once

#include "AtParser.h"

#include <QtCore/QMap>
#include <QtCore/QRegularExpression>
#include <QtCore/QString>

#include <optional>

namespace devsrv {

/// How cards of one dialect tell values that have no standard command, or that they answer in a
/// form of their own: for each value a command, and a pattern that finds the value in the answer.
///
/// A value.
class ModemFile
{
public:
    ModemFile() = default;

    /// Reads a modem file. Returns nothing and one sentence in `error`, with file and line, if it
    /// is wrong.
    static std::optional<ModemFile> read(const QString &file, QString &error);

    /// The command for a field, with "AT"; empty if the file has none.
    std::string command(const char *field) const;

    /// The value of a field in an answer to command(): what the pattern's first group matches, or
    /// the whole pattern where it has no group. Without a pattern it is the first line.
    std::optional<std::string> value(const char *field, const Lines &answer) const;

private:
    QString addLine(const QString &section, const QString &name, const QString &value);

    QMap<QString, QString> m_commands;
    QMap<QString, QRegularExpression> m_patterns;
};

} // namespace devsrv
