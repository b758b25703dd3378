// SPDX-License-Identifier: MIT
#include "ModemFile.h"

#include "ModemFields.h"

#include <QtCore/QFileInfo>
#include <QtCore/QHash>

#include <algorithm>

namespace devsrv {

namespace {

constexpr QLatin1String kCommands("Commands");
constexpr QLatin1String kPatterns("Patterns");

bool isField(const QString &name)
{
    return std::any_of(std::begin(kModemFields), std::end(kModemFields),
                       [&](const ModemField &field) { return name == QLatin1String(field.name); });
}

} // namespace

std::optional<ModemFile> ModemFile::read(const QString &file, QString &error)
{
    QFile in(file);
    if (QFileInfo::exists(file) && !QFileInfo(file).isFile()) {
        error = QStringLiteral("the modem file %1 is not a file; name a file").arg(file);
        return std::nullopt;
    }
    if (!in.open(QIODevice::ReadOnly | QIODevice::Text)) {
        error = QStringLiteral("the modem file %1 cannot be read: %2").arg(file, in.errorString());
        return std::nullopt;
    }
    ModemFile result;
    QString section;
    QHash<QString, int> patternLines;
    int number = 0;
    QString wrong;
    while (!in.atEnd() && wrong.isEmpty()) {
        const QString line = QString::fromUtf8(in.readLine()).trimmed();
        ++number;
        if (line.isEmpty() || line.startsWith(QLatin1Char('#'))
            || line.startsWith(QLatin1Char(';')))
            continue;
        const qsizetype equals = line.indexOf(QLatin1Char('='));
        if (line.startsWith(QLatin1Char('[')) && line.endsWith(QLatin1Char(']'))) {
            section = line.mid(1, line.size() - 2);
            if (section != kCommands && section != kPatterns)
                wrong = QStringLiteral("the sections are [Commands] and [Patterns]");
        } else if (equals < 0) {
            wrong = QStringLiteral("a line is NAME=VALUE, a [SECTION], or a comment after #");
        } else {
            const QString name = line.left(equals).trimmed();
            wrong = result.addLine(section, name, line.mid(equals + 1).trimmed());
            if (section == kPatterns)
                patternLines.insert(name, number);
        }
    }
    for (const QString &field : result.m_patterns.keys()) {
        if (wrong.isEmpty() && !result.m_commands.contains(field)) {
            wrong = QStringLiteral("%1 has a pattern but no command").arg(field);
            number = patternLines[field];
        }
    }
    if (wrong.isEmpty())
        return result;
    error = QStringLiteral("%1:%2: %3").arg(file).arg(number).arg(wrong);
    return std::nullopt;
}

QString ModemFile::addLine(const QString &section, const QString &name, const QString &value)
{
    if (section.isEmpty())
        return QStringLiteral("a [SECTION] has to come first: [Commands] or [Patterns]");
    if (!isField(name)) {
        return QStringLiteral("there is no field \"%1\"; list them with kestrun cards --fields")
            .arg(name);
    }
    if (value.isEmpty())
        return QStringLiteral("%1 has no value").arg(name);
    if (section == kCommands) {
        if (m_commands.contains(name))
            return QStringLiteral("%1 has a command already").arg(name);
        const QString command = value.startsWith(QLatin1String("AT")) ? value
                                                                      : QLatin1String("AT") + value;
        if (isHarmful(command.toStdString()))
            return QStringLiteral("%1 changes the card; only queries may stand here").arg(command);
        m_commands.insert(name, command);
        return {};
    }
    if (m_patterns.contains(name))
        return QStringLiteral("%1 has a pattern already").arg(name);
    const QRegularExpression pattern(value);
    if (!pattern.isValid()) {
        return QStringLiteral("the pattern of %1 is wrong at character %2: %3")
            .arg(name)
            .arg(pattern.patternErrorOffset() + 1)
            .arg(pattern.errorString());
    }
    m_patterns.insert(name, pattern);
    return {};
}

std::string ModemFile::command(const char *field) const
{
    return m_commands.value(QLatin1String(field)).toStdString();
}

std::optional<std::string> ModemFile::value(const char *field, const Lines &answer) const
{
    const auto pattern = m_patterns.constFind(QLatin1String(field));
    if (pattern == m_patterns.constEnd())
        return textValue(answer);
    for (const std::string &line : answer) {
        const auto match = pattern->match(
            QString::fromLatin1(line.data(), static_cast<qsizetype>(line.size())));
        if (!match.hasMatch())
            continue;
        const QString value = match.captured(std::min(1, pattern->captureCount())).trimmed();
        if (!value.isEmpty())
            return value.toLatin1().toStdString();
    }
    return std::nullopt;
}

} // namespace devsrv
