// SPDX-License-Identifier: MIT

// A dashboard that loads the plug-in with QPluginLoader: it starts the plug-in, prints when a card
// comes or goes, and ends when something is typed or the input ends.
//   example_loader PLUGIN [ROOT]
#include "kestrun/KestrunHostTable.h"
#include "plugin/INotify.h"
#include "plugin/IUIPlugin.h"
#include "plugin/PluginEntry.h"

#include <QCoreApplication>
#include <QJsonObject>
#include <QLibrary>
#include <QPluginLoader>
#include <QSocketNotifier>
#include <QTextStream>

#include <unistd.h>

// Prints the signals of the controller. Lives on the thread of the application, to which Qt
// delivers the signals.
class Listener : public QObject
{
    Q_OBJECT

public Q_SLOTS:
    void cardCame() { QTextStream(stdout) << "a card is present" << Qt::endl; }
    void cardWent() { QTextStream(stdout) << "the card is gone" << Qt::endl; }
};

namespace {

// Returns the plug-in object, or null after a message.
QObject *load(QPluginLoader &loader, QLibrary &library)
{
    QTextStream err(stderr);
    // This reads the file without running its code.
    const QJsonObject metadata = loader.metaData();
    if (metadata.value(QLatin1String("IID")).toString()
        != QLatin1String(qobject_interface_iid<IBasePlugin *>())) {
        err << "this is not a plug-in for dashboards" << Qt::endl;
        return nullptr;
    }
    // A function that is missing is reported here, and does not end the program later.
    loader.setLoadHints(QLibrary::ResolveAllSymbolsHint);
    if (!loader.load()) {
        err << loader.errorString() << Qt::endl;
        return nullptr;
    }
    const auto verification = reinterpret_cast<PluginVerificationFunction>(
        library.resolve("qt_plugin_query_verification_data"));
    if (!verification || qstrcmp(verification(), kPluginVerificationText) != 0) {
        err << "the plug-in was made for another dashboard" << Qt::endl;
        return nullptr;
    }
    return loader.instance();
}

} // namespace

int main(int argc, char **argv)
{
    const QCoreApplication application(argc, argv);
    if (argc < 2)
        return 2;
    const QString file = QString::fromLocal8Bit(argv[1]);
    QPluginLoader loader(file);
    QLibrary library(file);
    QObject *const object = load(loader, library);
    auto *const plugin = qobject_cast<IUIPlugin *>(object);
    const auto getTable = reinterpret_cast<KestrunGetHostTableFunction>(
        library.resolve("KestrunGetHostTable"));
    const auto setRoot = reinterpret_cast<KestrunSetSystemRootFunction>(
        library.resolve("KestrunSetSystemRoot"));
    if (!plugin || !getTable || !setRoot)
        return 1;
    const KestrunHostTable *const table = getTable();
    if (argc > 2)
        setRoot(argv[2]);

    const Listener listener;
    auto *const controller = static_cast<QObject *>(table->controller());
    QObject::connect(controller, SIGNAL(DeviceAvailable()), &listener, SLOT(cardCame()));
    QObject::connect(controller, SIGNAL(DeviceUnavailable()), &listener, SLOT(cardWent()));
    if (!plugin->Init())
        return 1;
    QTextStream(stdout) << "reports are written to " << table->dataDirectory() << Qt::endl;

    const QSocketNotifier input(STDIN_FILENO, QSocketNotifier::Read);
    QObject::connect(&input, &QSocketNotifier::activated, &application, &QCoreApplication::quit);
    QCoreApplication::exec();

    plugin->OnDestroy();
    delete object;
    table->destroy();
    return 0;
}

#include "loader.moc"
