// SPDX-License-Identifier: MIT

// The device service on the real daemon, which talks to scripted modems.

#include "ServiceProbe.h"
#include "TestBed.h"

#include <QtTest/QTest>

class ModemManagerTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void cleanup();

    void values_data();
    void values();

private:
    bool start(const char *backend = "modemmanager");

    TestBed m_bed;
    const DeviceServiceControl *m_service = DevSrv_GetControl();
};

void ModemManagerTest::initTestCase()
{
    QVERIFY(m_bed.startBus());
}

void ModemManagerTest::cleanup()
{
    if (QTest::currentTestFailed())
        qInfo().noquote() << m_bed.daemonLog() << probe::events() << probe::takeWarnings();
    probe::stopListening();
    m_service->stop();
    m_bed.killDaemon();
    m_bed.authority().grants = true;
}

bool ModemManagerTest::start(const char *backend)
{
    probe::listen();
    return m_service->start(backend) == 0;
}

void ModemManagerTest::values_data()
{
    QTest::addColumn<Script>("script");
    QTest::newRow("UMTS") << ScriptedModem::umts();
    QTest::newRow("LTE") << ScriptedModem::lte();
}

void ModemManagerTest::values()
{
    QFETCH(Script, script);
    QVERIFY(m_bed.startDaemon(true));
    ScriptedModem *modem = m_bed.plug(script);
    QVERIFY(modem);
    QTest::qWait(3000);
    QVERIFY(start());
    qInfo() << m_bed.witness() << m_bed.witness({QStringLiteral("--location-get")}) << modem->journal() << probe::takeWarnings();
    qInfo().noquote() << m_bed.daemonLog();
}

QTEST_GUILESS_MAIN(ModemManagerTest)
#include "tst_modemmanagerfaults.moc"
