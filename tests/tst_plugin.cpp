// SPDX-License-Identifier: MIT
#include "devsrv/DeviceServiceControl.h"
#include "kestrun/KestrunHostTable.h"
#include "plugin/INotify.h"
#include "plugin/IUIPlugin.h"

#include <QDir>
#include <QFileInfo>
#include <QLibrary>
#include <QPluginLoader>
#include <QPointer>
#include <QProcess>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QTest>

#include <dlfcn.h>
#include <memory>

// Tests the plug-in from outside: with the public headers only, loaded by its path. Other tests,
// which have a card and a system root, call Init().
class tst_Plugin : public QObject
{
    Q_OBJECT

private:
    const QString m_file = QStringLiteral(PLUGIN_FILE);
    QPluginLoader m_loader{m_file};

    const KestrunHostTable &table() const
    {
        return *reinterpret_cast<KestrunGetHostTableFunction>(
            QLibrary::resolve(m_file, "KestrunGetHostTable"))();
    }
    // The device service is loaded with the plug-in.
    const DeviceServiceControl &deviceService() const
    {
        return *reinterpret_cast<DevSrvGetControlFunction>(
            QLibrary::resolve(m_file, "DevSrv_GetControl"))();
    }

private Q_SLOTS:
    void initTestCase() { QVERIFY2(m_loader.load(), qPrintable(m_loader.errorString())); }

    void exportsOnlyPublicSymbols()
    {
        static const QRegularExpression allowed(
            "^(qt_plugin_(instance|query_metadata_v2|query_verification_data)|Kestrun(GetHostTable|"
            "SetSystemRoot)"
            "|_ZNK?20CCollectionDataLogic\\w+|_ZT[VIS]20CCollectionDataLogic|)$");
        QProcess nm;
        nm.start(NM, {"-D", "--defined-only", m_file});
        QVERIFY(nm.waitForFinished());
        QStringList names;
        for (const QByteArray &line : nm.readAllStandardOutput().split('\n'))
            names << QString::fromUtf8(line).section(' ', 2);
        QVERIFY(names.contains("_ZTV20CCollectionDataLogic"));
        QVERIFY(names.contains("_ZN20CCollectionDataLogicD0Ev"));
        for (const QString &name : names)
            QVERIFY2(allowed.match(name).hasMatch(), qPrintable(name));
    }

    void returnsOneObjectUntilDeleted()
    {
        // Also without Qt's loader.
        void *const handle = dlopen(PLUGIN_FILE, RTLD_LAZY);
        QVERIFY2(handle, dlerror());
        const auto instance = reinterpret_cast<QObject *(*)()>(dlsym(handle, "qt_plugin_instance"));
        QPointer<QObject> object = instance();
        QVERIFY(object);
        QVERIFY(!object->parent());
        QCOMPARE(instance(), object.data());
        QCOMPARE(m_loader.instance(), object.data());
        delete object.data();
        QVERIFY(!object);
        const std::unique_ptr<QObject> next(instance());
        QVERIFY(next);
        QCOMPARE(instance(), next.get());
        dlclose(handle);
    }

    void castsToInterfaces()
    {
        const std::unique_ptr<QObject> object(m_loader.instance());
        auto *const base = qobject_cast<IBasePlugin *>(object.get());
        auto *const window = qobject_cast<IUIPlugin *>(object.get());
        QVERIFY(base && window && qobject_cast<INotify *>(object.get()));
        QCOMPARE(static_cast<IBasePlugin *>(window), base);
        QCOMPARE(object->qt_metacast("IUIPlugin"), static_cast<void *>(window));
        QVERIFY(object->qt_metacast("INotify") && object->qt_metacast("CCollectionDataPlugin"));
        QVERIFY(!object->qt_metacast("IBasePlugin") && !object->qt_metacast(nullptr));
        QCOMPARE(object->metaObject()->className(), "CCollectionDataPlugin");
        QCOMPARE(object->metaObject()->methodCount(), QObject::staticMetaObject.methodCount());
    }

    void toleratesNotifyAndDestroyBeforeInit()
    {
        const std::unique_ptr<QObject> object(m_loader.instance());
        QCOMPARE(qobject_cast<INotify *>(object.get())->Notify(4096, 0, 0), 0);
        qobject_cast<IBasePlugin *>(object.get())->OnDestroy();
    }

    void tableGivesControllerAndReport()
    {
        QCOMPARE(table().size, sizeof(KestrunHostTable));
        QCOMPARE(table().version, uint32_t(KESTRUN_HOST_TABLE_VERSION));
        const QPointer<QObject> controller = static_cast<QObject *>(table().controller());
        QCOMPARE(controller->metaObject()->className(), "CCollectionDataLogic");
        QCOMPARE(controller.data(), table().controller());

        const QTemporaryDir root(QDir::tempPath() + QStringLiteral("/\u00e9\u20ac-XXXXXX"));
        const auto setRoot = reinterpret_cast<KestrunSetSystemRootFunction>(
            QLibrary::resolve(m_file, "KestrunSetSystemRoot"));
        setRoot(qUtf8Printable(root.path()));
        const QString directory = QString::fromUtf8(table().dataDirectory());
        setRoot(nullptr);
        QCOMPARE(directory,
                 root.path()
                     + "/usr/local/vl_bk_userdata/Brisk_Lane/OnlineUpdate/OnlineUpdate Data/");
        QVERIFY(QDir().mkpath(directory));
        setRoot(qUtf8Printable(root.path()));
        table().writeReport();
        setRoot("");
        QVERIFY(QFileInfo(directory + "UpdateRule.dat").size() > 0);
        QVERIFY(QString::fromUtf8(table().dataDirectory()).startsWith("/usr/local/"));
        table().destroy();
        QVERIFY(!controller);
    }

    void tableSendsLatin1Only()
    {
        QCOMPARE(deviceService().start("emulated"), 0);
        QCOMPARE(table().setReceipts(2), int(KESTRUN_ACCEPTED));
        for (const char *text : {"\xE2\x82\xAC", "caf\xE9", static_cast<const char *>(nullptr)})
            QCOMPARE(table().sendSms("1", text), int(KESTRUN_BAD_TEXT));
        QVERIFY(!QByteArray(deviceService().journal()).contains("SMS \""));
        QCOMPARE(table().sendSms("1", "caf\xC3\xA9"), int(KESTRUN_ACCEPTED));
        const QByteArray calls = deviceService().journal();
        QVERIFY2(calls.contains("SMS \"1\" \"caf\\351\" receipt=1"), calls.constData());
        QCOMPARE(deviceService().loadCard("none"), 0);
        QCOMPARE(table().sendSms("1", "a"), int(KESTRUN_REFUSED));
        table().destroy();
    }
};

QTEST_APPLESS_MAIN(tst_Plugin)
#include "tst_plugin.moc"
