// SPDX-License-Identifier: MIT
#include "PluginOutput.h"

#include <QByteArray>
#include <QString>
#include <QtGlobal>

#include <cstdio>
#include <fcntl.h>
#include <unistd.h>

namespace {

void show(QtMsgType, const QMessageLogContext &, const QString &message)
{
    std::fprintf(stderr, "%s\n", message.toLocal8Bit().constData());
}

// Without the log, only the messages of the device service on real modems are shown.
void drop(QtMsgType type, const QMessageLogContext &context, const QString &message)
{
    if (message.startsWith(QLatin1String("modemmanager: ")))
        show(type, context, message);
}

} // namespace

void setPluginLog(bool shown)
{
    qInstallMessageHandler(shown ? show : drop);
}

PluginOutput::PluginOutput(bool shown)
    : m_savedOutput(dup(STDOUT_FILENO)), m_savedError(dup(STDERR_FILENO))
{
    std::fflush(stdout);
    if (!shown) {
        const int nowhere = open("/dev/null", O_WRONLY | O_CLOEXEC);
        dup2(nowhere, STDERR_FILENO);
        close(nowhere);
    }
    dup2(STDERR_FILENO, STDOUT_FILENO);
}

PluginOutput::~PluginOutput()
{
    std::fflush(stdout);
    dup2(m_savedOutput, STDOUT_FILENO);
    dup2(m_savedError, STDERR_FILENO);
    close(m_savedOutput);
    close(m_savedError);
}
