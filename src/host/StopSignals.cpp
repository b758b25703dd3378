// SPDX-License-Identifier: MIT
#include "StopSignals.h"

#include <pthread.h>

StopSignals::StopSignals()
{
    sigemptyset(&m_signals);
    sigaddset(&m_signals, SIGINT);
    sigaddset(&m_signals, SIGTERM);
    pthread_sigmask(SIG_BLOCK, &m_signals, &m_previousMask);
    m_waiting = std::thread([this] { wait(); });
}

StopSignals::~StopSignals()
{
    m_ending = true;
    pthread_kill(m_waiting.native_handle(), SIGINT);
    m_waiting.join();
    pthread_sigmask(SIG_SETMASK, &m_previousMask, nullptr);
}

void StopSignals::wait()
{
    int signal = 0;
    while (sigwait(&m_signals, &signal) == 0 && !m_ending)
        Q_EMIT stopped();
}
