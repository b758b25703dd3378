// SPDX-License-Identifier: MIT
#include "PluginLog.h"

#include "Output.h"
#include "VisibleText.h"

#include <QMutex>
#include <QRegularExpression>
#include <QSet>
#include <QtGlobal>

#include <unistd.h>

namespace {

// The plug-in writes this as a warning for each message that it sends, also on success.
constexpr QLatin1String kSuccess("The Error code returned by the ZEPA_SMSSrv_CreateSMSRecord = 0");

// One call of the system, so that lines of two threads do not mix.
void showLine(const QString &line)
{
    const Redactor *const redacting = redactor();
    const QByteArray bytes = visible(redacting ? redacting->redacted(line) : line).toUtf8() + '\n';
    [[maybe_unused]] const ssize_t written = write(errorDescriptor(), bytes.constData(),
                                                   static_cast<std::size_t>(bytes.size()));
}

void showAll(QtMsgType, const QMessageLogContext &, const QString &message)
{
    showLine(message);
}

// Shows each warning once. Two lines of the log that differ in their time are one warning.
void showWarnings(QtMsgType type, const QMessageLogContext &, const QString &message)
{
    if (type == QtDebugMsg || type == QtInfoMsg || message == kSuccess || isQuiet())
        return;
    static const QRegularExpression time(QStringLiteral("^\\d\\d:\\d\\d:\\d\\d:\\d\\d\\d ?: ?"));
    const QString text = QString(message).remove(time);
    static QBasicMutex mutex;
    static QSet<QString> shown;
    {
        const QMutexLocker lock(&mutex);
        if (shown.contains(text))
            return;
        shown.insert(text);
    }
    showLine(QStringLiteral("kestrun: warning: ") + text);
}

} // namespace

void setPluginLog(bool shown)
{
    errorDescriptor();
    qInstallMessageHandler(shown ? showAll : showWarnings);
}
