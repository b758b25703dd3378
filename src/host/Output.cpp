// SPDX-License-Identifier: MIT
#include "Output.h"

#include "EventObserver.h"
#include "Failure.h"
#include "VisibleText.h"

#include <QFile>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <fcntl.h>
#include <memory>
#include <unistd.h>

namespace {

// Of the last write that failed; 0: none did.
int s_error = 0;

FILE *s_output = stdout;
FILE *s_errors = stderr;
bool s_isFile = false; // whether the output is the file of --output
QString s_outputName = QStringLiteral("standard output");
bool s_quiet = false;
std::unique_ptr<Redactor> s_redactor;

void put(FILE *stream, const QByteArray &bytes)
{
    const std::size_t size = static_cast<std::size_t>(bytes.size());
    const bool written = std::fwrite(bytes.constData(), 1, size, stream) == size
        && std::fflush(stream) == 0;
    if (!written && stream == s_output)
        s_error = errno;
}

} // namespace

void setRedaction(Redactor::Extent extent)
{
    s_redactor = std::make_unique<Redactor>(extent);
    // What the libraries and their shell commands print themselves cannot be redacted.
    s_output = fdopen(fcntl(STDOUT_FILENO, F_DUPFD_CLOEXEC, STDERR_FILENO + 1), "w");
    s_errors = fdopen(errorDescriptor(), "w");
    const int nowhere = open("/dev/null", O_WRONLY | O_CLOEXEC);
    dup2(nowhere, STDOUT_FILENO);
    dup2(nowhere, STDERR_FILENO);
    close(nowhere);
}

int outputDescriptor()
{
    return fileno(s_output);
}

int errorDescriptor()
{
    static const int descriptor = fcntl(STDERR_FILENO, F_DUPFD_CLOEXEC, STDERR_FILENO + 1);
    return descriptor;
}

Redactor *redactor()
{
    return s_redactor.get();
}

NamedValues presentable(const NamedValues &values)
{
    if (!s_redactor)
        return values;
    s_redactor->learn(values);
    return s_redactor->redacted(values);
}

HandledEvent presentable(HandledEvent event)
{
    event.card = presentable(event.card);
    if (event.report)
        event.report = presentable(*event.report);
    return event;
}

void setOutputFile(const QString &file)
{
    s_outputName = file;
    const int descriptor = open(QFile::encodeName(file).constData(), O_WRONLY | O_CREAT | O_CLOEXEC,
                                0666);
    s_output = descriptor < 0 ? nullptr : fdopen(descriptor, "w");
    s_isFile = true;
    if (!s_output) {
        failRun(QStringLiteral("%1 cannot be written: %2; choose another place with --output FILE")
                    .arg(file, qt_error_string(errno)));
    }
}

void setQuiet(bool quiet)
{
    s_quiet = quiet;
}

bool isQuiet()
{
    return s_quiet;
}

QString colored(const QString &text, Color color)
{
    static const bool wanted = isatty(fileno(s_output)) && qEnvironmentVariableIsEmpty("NO_COLOR")
        && qgetenv("TERM") != "dumb";
    return wanted ? QStringLiteral("\033[%1m%2\033[0m").arg(static_cast<int>(color)).arg(text)
                  : text;
}

void printPresentable(const QString &text)
{
    // A command that fails before it prints anything leaves the file as it is.
    static const bool isEmptied = s_isFile && ftruncate(fileno(s_output), 0) == 0;
    Q_UNUSED(isEmptied)
    put(s_output, text.toUtf8());
}

void print(const QString &text)
{
    printPresentable(s_redactor ? s_redactor->redacted(text) : text);
}

void requirePrinted()
{
    if (s_error != 0 && s_error != EPIPE) {
        failRun(
            QStringLiteral("%1 could not be written: %2; make room, or choose another place for it")
                .arg(s_outputName, qt_error_string(s_error)));
    }
}

void printNote(const QString &line)
{
    if (!s_quiet)
        printError(line);
}

void printError(const QString &text)
{
    QStringList lines = text.split(QLatin1Char('\n'));
    for (QString &line : lines)
        line = visible(line);
    const QString shown = lines.join(QLatin1Char('\n')) + QLatin1Char('\n');
    put(s_errors, (s_redactor ? s_redactor->redacted(shown) : shown).toUtf8());
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
