// SPDX-License-Identifier: MIT
#include "PluginLibrary.h"

#include "Failure.h"
#include "plugin/PluginEntry.h"

#include <QCoreApplication>
#include <QDir>
#include <QFileInfo>
#include <QJsonObject>

template <typename Function>
Function PluginLibrary::resolve(const char *symbol) const
{
    return reinterpret_cast<Function>(m_library.resolve(symbol));
}

PluginLibrary::PluginLibrary(const QString &file) : m_file(file), m_library(file)
{
    if (!QFileInfo(file).isFile()) {
        failRun(QStringLiteral("there is no plug-in file %1; build it with script/run, or name it "
                               "with --plugin FILE")
                    .arg(file));
    }
    if (QFile readable(file); !readable.open(QIODevice::ReadOnly)) {
        failRun(QStringLiteral("%1 cannot be read: %2; grant the right to read it, or name another "
                               "plug-in with --plugin FILE")
                    .arg(file, readable.errorString()));
    }
    // A function that is missing is told now, and does not end the program when it is called.
    m_loader.setLoadHints(QLibrary::ResolveAllSymbolsHint);
    m_loader.setFileName(file);
    const QString identifier = m_loader.metaData().value(QStringLiteral("IID")).toString();
    if (identifier.isEmpty())
        failRun(QStringLiteral("%1 is not a Qt plug-in: %2").arg(file, m_loader.errorString()));
    if (identifier != QLatin1String(qobject_interface_iid<IBasePlugin *>())) {
        failRun(QStringLiteral("%1 is a Qt plug-in of another kind: its identifier is \"%2\", not "
                               "\"%3\"")
                    .arg(file, identifier, QLatin1String(qobject_interface_iid<IBasePlugin *>())));
    }
}

void PluginLibrary::load()
{
    if (!m_loader.load())
        failRun(QStringLiteral("the plug-in cannot be loaded: %1").arg(m_loader.errorString()));

    const auto verification = resolve<PluginVerificationFunction>(
        "qt_plugin_query_verification_data");
    if (!verification) {
        failRun(QStringLiteral("%1 does not export qt_plugin_query_verification_data: it is not a "
                               "plug-in for this dashboard")
                    .arg(m_file));
    }
    const QByteArray text = verification();
    if (text != kPluginVerificationText) {
        failRun(
            QStringLiteral("%1 was built for another dashboard: its verification text is \"%2\", "
                           "not \"%3\"")
                .arg(m_file, QString::fromLatin1(text).replace(u'\n', u' '),
                     QString::fromLatin1(kPluginVerificationText).replace(u'\n', u' ')));
    }
    m_setSystemRoot = resolve<KestrunSetSystemRootFunction>("KestrunSetSystemRoot");
    const auto getTable = resolve<KestrunGetHostTableFunction>("KestrunGetHostTable");
    const KestrunHostTable *const table = getTable ? getTable() : nullptr;
    if (table && table->version == KESTRUN_HOST_TABLE_VERSION && table->size >= sizeof *table)
        m_table = table;
}

PluginLibrary::Object PluginLibrary::instance()
{
    QObject *const object = m_loader.instance();
    const Object found{object, qobject_cast<IBasePlugin *>(object),
                       qobject_cast<IUIPlugin *>(object), qobject_cast<INotify *>(object)};
    if (!found.base || !found.window || !found.notify) {
        failRun(QStringLiteral("the object of %1 does not have the interfaces IBasePlugin, "
                               "IUIPlugin and INotify: it was built for another dashboard")
                    .arg(m_file));
    }
    return found;
}

const KestrunHostTable &PluginLibrary::requireTable(const QString &purpose) const
{
    if (!m_table) {
        failRun(QStringLiteral("%1 cannot %2: it has no KestrunGetHostTable of version %3; use a "
                               "newer plug-in")
                    .arg(m_file, purpose)
                    .arg(KESTRUN_HOST_TABLE_VERSION));
    }
    return *m_table;
}

void PluginLibrary::setSystemRoot(const QString &directory) const
{
    if (!m_setSystemRoot) {
        failRun(QStringLiteral("%1 cannot be moved to %2: it has no KestrunSetSystemRoot; use a "
                               "newer plug-in, or leave out --root")
                    .arg(m_file, directory));
    }
    m_setSystemRoot(directory.toUtf8().constData());
}

QString PluginLibrary::defaultFile()
{
#if defined(Q_OS_MACOS)
    const QString name = QStringLiteral("libKestrun.dylib");
#else
    const QString name = QStringLiteral("libKestrun.so");
#endif
    const QString above = QCoreApplication::applicationDirPath() + QStringLiteral("/../");
    const QString installed = above + QStringLiteral(KESTRUN_LIBDIR "/") + name;
    return QDir::cleanPath(QFileInfo::exists(installed) ? installed
                                                        : above + QStringLiteral("lib/") + name);
}
