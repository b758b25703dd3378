// SPDX-License-Identifier: MIT

// The smallest dashboard that links to the plug-in: it starts the plug-in, prints when a card comes
// or goes, and ends on Ctrl-D. "SysConfig.dat" is read from the working directory.
#include "kestrun/CollectionDataLogic.h"
#include "kestrun/KestrunHostTable.h"
#include "plugin/INotify.h"
#include "plugin/IUIPlugin.h"
#include "plugin/PluginEntry.h"

#include <QCoreApplication>
#include <QSocketNotifier>
#include <QTextStream>

#include <memory>
#include <unistd.h>

int main(int argc, char **argv)
{
    const QCoreApplication application(argc, argv);
    QTextStream out(stdout);

    // The system has loaded the library with the program, so that functions are called directly.
    std::unique_ptr<QObject> object(qt_plugin_instance());
    auto *const plugin = qobject_cast<IUIPlugin *>(object.get());
    auto *const notify = qobject_cast<INotify *>(object.get());

    // The signals may be emitted on a thread of the device service. Because of the context object
    // Qt calls the functions on this thread.
    auto *const controller = CCollectionDataLogic::GetInstance();
    QObject::connect(controller, &CCollectionDataLogic::DeviceAvailable, &application,
                     [&out] { out << "a card is present" << Qt::endl; });
    QObject::connect(controller, &CCollectionDataLogic::DeviceUnavailable, &application,
                     [&out] { out << "the card is gone" << Qt::endl; });
    if (argc > 1)
        KestrunSetSystemRoot(argv[1]);
    if (!plugin->Init())
        return 1;
    std::wstring directory;
    controller->GetPath(directory);
    out << "reports are written to " << QString::fromStdWString(directory) << Qt::endl;

    // The Return key rewrites the report.
    QSocketNotifier input(STDIN_FILENO, QSocketNotifier::Read);
    QObject::connect(&input, &QSocketNotifier::activated, &application, [notify] {
        char line[256];
        if (read(STDIN_FILENO, line, sizeof line) > 0)
            notify->Notify(0x1000, 0, 0);
        else
            QCoreApplication::quit();
    });
    QCoreApplication::exec();

    plugin->OnDestroy();
    object.reset();
    CCollectionDataLogic::Destroy();
    return 0;
}
