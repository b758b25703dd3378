// SPDX-License-Identifier: MIT
#include "plugin/INotify.h"
#include "plugin/IUIPlugin.h"

#include <QPluginLoader>
#include <QPointer>
#include <QProcess>
#include <QRect>
#include <QRegularExpression>
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

private Q_SLOTS:
    void initTestCase() { QVERIFY2(m_loader.load(), qPrintable(m_loader.errorString())); }

    void exportsOnlyPublicSymbols()
    {
        static const QRegularExpression allowed(
            "^(qt_plugin_(instance|query_metadata_v2|query_verification_data)|KestrunSetSystemRoot"
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

    void answersFixedValues()
    {
        const std::unique_ptr<QObject> object(m_loader.instance());
        auto *const plugin = qobject_cast<IUIPlugin *>(object.get());
        QCOMPARE(plugin->GetPluginType() + plugin->GetVersion() + plugin->GetLastError()
                     + plugin->DoModal(),
                 0);
        QVERIFY(!plugin->IsAllowRelease() && !plugin->IsReady());
        QCOMPARE(plugin->QueryInterface(1, nullptr), 1);
        QRect rectangle;
        QCOMPARE(plugin->ShowWindow(nullptr, rectangle), 1);
        QVERIFY(plugin->ChangeLang("en") && !plugin->ChangeLang(QString()));
    }

    void toleratesNotifyAndDestroyBeforeInit()
    {
        const std::unique_ptr<QObject> object(m_loader.instance());
        QCOMPARE(qobject_cast<INotify *>(object.get())->Notify(4096, 0, 0), 0);
        qobject_cast<IBasePlugin *>(object.get())->OnDestroy();
    }
};

QTEST_APPLESS_MAIN(tst_Plugin)
#include "tst_plugin.moc"
