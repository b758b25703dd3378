// SPDX-License-Identifier: MIT
#include "StopSignals.h"

#include <csignal>
#include <unistd.h>

namespace {

// A signal handler may do no more than write to it.
volatile int s_writeEnd = -1;

void handle(int)
{
    [[maybe_unused]] const auto written = write(s_writeEnd, "", 1);
}

} // namespace

StopSignals::StopSignals()
{
    if (pipe(m_pipe) != 0)
        qFatal("no pipe can be made");
    s_writeEnd = m_pipe[1];
    m_notifier = new QSocketNotifier(m_pipe[0], QSocketNotifier::Read, this);
    connect(m_notifier, &QSocketNotifier::activated, this, [this] {
        m_notifier->setEnabled(false);
        Q_EMIT stopped();
    });
    std::signal(SIGINT, handle);
    std::signal(SIGTERM, handle);
}

StopSignals::~StopSignals()
{
    std::signal(SIGINT, SIG_DFL);
    std::signal(SIGTERM, SIG_DFL);
    close(m_pipe[0]);
    close(m_pipe[1]);
}
