// SPDX-License-Identifier: MIT
#include "PluginLibrary.h"

#include "Failure.h"
#include "plugin/PluginEntry.h"

#include <QCoreApplication>
#include <QDir>
#include <QFileInfo>
#include <QJsonObject>

namespace {

// The controller's functions by their names in the file: the Itanium C++ ABI, which GCC and Clang
// share, passes the object as a first argument like any other.
constexpr char kGetInstance[] = "_ZN20CCollectionDataLogic11GetInstanceEv";
constexpr char kDestroy[] = "_ZN20CCollectionDataLogic7DestroyEv";
constexpr char
    kGetPath[] = "_ZN20CCollectionDataLogic7GetPathERNSt7__cxx1112basic_stringIwSt11char_"
                 "traitsIwESaIwEEE";
constexpr char kSendSms[] = "_ZN20CCollectionDataLogic7SendSMSENSt7__cxx1112basic_stringIcSt11char_"
                            "traitsIcESaIcEEES5_";
constexpr char kSmsReportSetting[] = "_ZN20CCollectionDataLogic16SmsReportSettingEb";

} // namespace

template <typename Function>
Function PluginLibrary::resolve(const char *symbol) const
{
    const auto function = reinterpret_cast<Function>(m_library.resolve(symbol));
    if (!function) {
        failRun(QStringLiteral("%1 does not export %2: it is not a plug-in for this dashboard")
                    .arg(m_file, QLatin1String(symbol)));
    }
    return function;
}

PluginLibrary::PluginLibrary(const QString &file) : m_file(file), m_library(file)
{
    if (!QFileInfo(file).isFile()) {
        failRun(QStringLiteral("there is no plug-in file %1; build it with script/run, or name it "
                               "with --plugin FILE")
                    .arg(file));
    }
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
    const QByteArray text = verification();
    if (text != kPluginVerificationText) {
        failRun(
            QStringLiteral("%1 was made for another dashboard: its verification text is \"%2\", "
                           "not \"%3\"")
                .arg(m_file, QString::fromLatin1(text).replace(u'\n', u' '),
                     QString::fromLatin1(kPluginVerificationText).replace(u'\n', u' ')));
    }
    m_controller = {
        resolve<decltype(m_controller.getInstance)>(kGetInstance),
        resolve<decltype(m_controller.destroy)>(kDestroy),
        resolve<decltype(m_controller.getPath)>(kGetPath),
        resolve<decltype(m_controller.sendSms)>(kSendSms),
        resolve<decltype(m_controller.setReceipts)>(kSmsReportSetting),
        resolve<decltype(m_controller.setSystemRoot)>("KestrunSetSystemRoot"),
    };
}

PluginLibrary::Object PluginLibrary::instance()
{
    QObject *const object = m_loader.instance();
    const Object found{object, qobject_cast<IBasePlugin *>(object),
                       qobject_cast<IUIPlugin *>(object), qobject_cast<INotify *>(object)};
    if (!found.base || !found.window || !found.notify) {
        failRun(QStringLiteral("the object of %1 does not answer the interfaces IBasePlugin, "
                               "IUIPlugin and INotify: it was made for another dashboard")
                    .arg(m_file));
    }
    return found;
}

QObject *PluginLibrary::controller() const
{
    return m_controller.getInstance();
}

void PluginLibrary::destroyController() const
{
    m_controller.destroy();
}

QString PluginLibrary::dataDirectory() const
{
    std::wstring path;
    m_controller.getPath(controller(), path);
    return QString::fromStdWString(path);
}

bool PluginLibrary::sendSms(const std::string &number, const std::string &text) const
{
    return m_controller.sendSms(controller(), number, text);
}

bool PluginLibrary::setReceipts(bool enable) const
{
    return m_controller.setReceipts(controller(), enable);
}

void PluginLibrary::setSystemRoot(const QString &directory) const
{
    m_controller.setSystemRoot(directory.toUtf8().constData());
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
