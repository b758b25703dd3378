// SPDX-License-Identifier: MIT

// The "serial" backend below the control interface, as hosts start and end it.

#include "PtyModem.h"

#include "devsrv/DeviceServiceControl.h"

#include <QCoreApplication>
#include <QTest>

namespace {

const DeviceServiceControl &control = *DevSrv_GetControl();

int start(const QString &card)
{
    return control.start(card.toUtf8().constData());
}

std::atomic<int> s_losses = 0;

int countLosses(int event, void *)
{
    s_losses += event == DEVSRV_EVENT_DEVICE_REMOVED || event == DEVSRV_EVENT_DEVICE_LOST;
    return 0;
}

std::string model()
{
    char model[ZEPA_TEXT_SIZE] = "";
    ZEPA_DevSrv_GetDeviceName(model);
    return model;
}

} // namespace

class tst_SerialService : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void needsAnApplication()
    {
        QVERIFY(start("serial") != 0);
        QVERIFY2(QByteArray(control.lastError()).contains("needs a QCoreApplication"),
                 control.lastError());
    }

    void changesCards()
    {
        PtyModem modem("gsm umts");
        modem.setAnswer("AT+CMEE?", "+CMEE: 0");
        int argc = 0;
        std::optional<QCoreApplication> application(std::in_place, argc, nullptr);
        QCOMPARE(start(modem.card()), 0);
        // The active card once more.
        QCOMPARE(start(modem.card("?timeout=200")), 0);
        QCOMPARE(model(), "FR210");
        // A card that cannot be started leaves the active one, which is not interrupted in vain.
        QVERIFY(start("serial:/dev/null") != 0);
        QCOMPARE(model(), "FR210");
        modem.takeJournal();
        for (const char *wrong :
             {"serail", "emulated:nosuch", "serial:/dev/null?speed=1", "serial?baud=fast",
              "serial?modem=/none", "modemmanager?at-timeout=0", ""})
            QVERIFY2(control.start(wrong) != 0, wrong);
        QVERIFY(control.start(nullptr) != 0);
        QCOMPARE(modem.takeJournal(), {});

        // The active card falls silent meanwhile, and keeps the modes of the backend.
        ZEPA_DevSrv_RegisterDevMgrCallback(countLosses);
        modem.isSilent = true;
        QVERIFY(start("serial:/dev/null") != 0);
        QTRY_COMPARE(s_losses, 1);
        QCOMPARE(model(), "");
        modem.setAnswer("AT+CMEE?", "+CMEE: 1");
        modem.isSilent = false;
        QTRY_COMPARE(model(), "FR210");
        ZEPA_DevSrv_UnRegisterDevMgrCallback(countLosses);

        // A host that forgets to stop the card.
        modem.takeJournal();
        application.reset();
        control.stop();
        QVERIFY(modem.takeJournal().contains("AT+CMEE=0"));
    }
};

QTEST_APPLESS_MAIN(tst_SerialService)
#include "tst_serialservice.moc"
