// SPDX-License-Identifier: MIT
#include "ProcessSetup.h"

#include <QHashSeed>

#include <csignal>
#include <fcntl.h>
#include <unistd.h>

namespace {

// If a standard stream is closed, the next file that is opened would take its place.
void openStandardStreams()
{
    int descriptor = 0;
    do
        descriptor = open("/dev/null", O_RDWR);
    while (descriptor >= 0 && descriptor <= STDERR_FILENO);
    close(descriptor);
}

} // namespace

void prepareProcess()
{
    openStandardStreams();
    // A handler, since the shell commands of the plug-in would inherit that it is ignored.
    std::signal(SIGXFSZ, [](int) {});
    // The plug-in writes the attributes of "Config.xml" in hash order.
    QHashSeed::setDeterministicGlobalSeed();
}
