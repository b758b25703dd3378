// SPDX-License-Identifier: MIT

// Prints the resident memory of a Qt program in KiB. If PLUGIN_FILE is defined, the program has
// loaded the plug-in and its object.
#include "ResidentMemory.h"

#include <QCoreApplication>
#include <QPluginLoader>

#include <cstdio>

int main(int argc, char **argv)
{
    const QCoreApplication application(argc, argv);
#if defined(PLUGIN_FILE)
    QPluginLoader loader(QStringLiteral(PLUGIN_FILE));
    if (!loader.instance())
        return 1;
#endif
    std::printf("%ld\n", residentKiB());
    return 0;
}
