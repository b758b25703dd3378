// SPDX-License-Identifier: MIT
#include "Output.h"

#include "Failure.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>

namespace {

// Of the last write that failed; 0: none did.
int s_error = 0;

void put(FILE *stream, const QString &text)
{
    const QByteArray bytes = text.toUtf8();
    const std::size_t size = static_cast<std::size_t>(bytes.size());
    const bool written = std::fwrite(bytes.constData(), 1, size, stream) == size
        && std::fflush(stream) == 0;
    if (!written && stream == stdout)
        s_error = errno;
}

} // namespace

QString visible(const QString &text)
{
    QString shown;
    for (const QChar character : text) {
        if (character.category() == QChar::Other_Control)
            shown += QStringLiteral("\\%1").arg(character.unicode(), 3, 8, QLatin1Char('0'));
        else
            shown += character;
    }
    return shown;
}

void print(const QString &text)
{
    put(stdout, text);
}

void requirePrinted()
{
    if (s_error != 0 && s_error != EPIPE) {
        failRun(QStringLiteral("standard output could not be written: %1; make room, or choose "
                               "another place for it")
                    .arg(qt_error_string(s_error)));
    }
}

void printError(const QString &line)
{
    put(stderr, line + QLatin1Char('\n'));
}

QString table(const QList<std::pair<QString, QString>> &rows)
{
    qsizetype width = 0;
    for (const auto &[name, value] : rows)
        width = std::max(width, name.size());
    QString text;
    for (const auto &[name, value] : rows) {
        QString line = name.leftJustified(width + 2) + visible(value);
        while (line.endsWith(QLatin1Char(' ')))
            line.chop(1);
        text += line + QLatin1Char('\n');
    }
    return text;
}
