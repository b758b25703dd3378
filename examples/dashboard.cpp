// SPDX-License-Identifier: MIT

// The smallest dashboard that links to the plug-in: starts it, follows the card for as long as it
// runs, and ends it on Ctrl-D. Its working directory has "SysConfig.dat".
#include "CollectionDataLogic.h"
#include "INotify.h"
#include "IUIPlugin.h"
#include "PluginEntry.h"

#include <QCoreApplication>
#include <QPluginLoader>
#include <QSocketNotifier>
#include <QTextStream>

#include <cstdio>
#include <memory>

int main(int argc, char **argv)
{
    const QCoreApplication application(argc, argv);
    QTextStream out(stdout);

    // The library is loaded with the program; the loader finds it again and gives its object.
    QPluginLoader loader(QCoreApplication::applicationDirPath()
                         + QStringLiteral("/../lib/libKestrun.so"));
    std::unique_ptr<QObject> object(loader.instance());
    auto *const plugin = qobject_cast<IUIPlugin *>(object.get());
    auto *const notify = qobject_cast<INotify *>(object.get());
    if (!plugin || !notify) {
        out << "The plug-in cannot be loaded: " << loader.errorString() << Qt::endl;
        return 1;
    }

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
    QSocketNotifier input(fileno(stdin), QSocketNotifier::Read);
    QObject::connect(&input, &QSocketNotifier::activated, &application, [&] {
        if (std::getchar() == EOF)
            QCoreApplication::quit();
        else
            notify->Notify(0x1000, 0, 0);
    });
    QCoreApplication::exec();

    plugin->OnDestroy();
    object.reset();
    CCollectionDataLogic::Destroy();
    return 0;
}
