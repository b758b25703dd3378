// SPDX-License-Identifier: MIT
#include "PluginOutput.h"

#include <cstdio>
#include <fcntl.h>
#include <unistd.h>

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
