// SPDX-License-Identifier: MIT

// The smallest dashboard that links to the plug-in: starts it, follows the card for as long as it
// runs, and ends it on Ctrl-D. Its working directory has "SysConfig.dat".
#include "CollectionDataLogic.h"
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

    // The library is loaded with the program: nothing has to be found at run time.
    std::unique_ptr<QObject> object(qt_plugin_instance());
    auto *const plugin = qobject_cast<IUIPlugin *>(object.get());
    auto *const notify = qobject_cast<INotify *>(object.get());

    // The signals may come on a thread of the device service: with a context object, Qt hands them
    // to this one.
    auto *const controller = CCollectionDataLogic::GetInstance();
    QObject::connect(controller, &CCollectionDataLogic::DeviceAvailable, &application,
                     [&out] { out << "a card has come" << Qt::endl; });
    QObject::connect(controller, &CCollectionDataLogic::DeviceUnavailable, &application,
                     [&out] { out << "the card has gone" << Qt::endl; });
    if (argc > 1)
        KestrunSetSystemRoot(argv[1]);
    if (!plugin->Init())
        return 1;
    std::wstring directory;
    controller->GetPath(directory);
    out << "reports are written to " << QString::fromStdWString(directory) << Qt::endl;

    // Return rewrites the report.
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
