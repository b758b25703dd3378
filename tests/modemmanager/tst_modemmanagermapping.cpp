// SPDX-License-Identifier: MIT
#include "TestData.h"
#include "modemmanager/ModemManagerMapping.h"

#include <QTest>

using namespace devsrv;

namespace {

// Returns a registered modem, changed by words of the form NAME=VALUE.
ModemSnapshot snapshot(const QString &words)
{
    const QString usual = "daemon=:1.1 modem=/Modem/0 state=8 sim=/SIM/0 unlock=1 technology=16384 "
                          "registration=1 operator=21407 location=214,07,0,102F304,1A2B ";
    QHash<QString, QString> values;
    for (const QString &word : (usual + words).split(' ', Qt::SkipEmptyParts))
        values[word.section('=', 0, 0)] = word.section('=', 1);
    const auto number = [&](const char *name) { return values[name].toUInt(); };
    ModemSnapshot snapshot{values["daemon"], std::nullopt};
    if (values["modem"].isEmpty())
        return snapshot;
    ModemValues &modem = snapshot.modem.emplace();
    modem.path = values["modem"];
    modem.state = values["state"].toInt();
    modem.sim = values["sim"];
    modem.imsi = values["imsi"].toStdString();
    modem.unlockRequired = number("unlock");
    modem.facilityLocks = number("locks");
    modem.accessTechnologies = number("technology");
    modem.registrationState = number("registration");
    modem.plmn = values["operator"].toStdString();
    modem.location = values["location"];
    return snapshot;
}

QString registration(const QString &location, Domain domain)
{
    const auto parsed = parseLocation(location);
    const auto found = parsed ? registrationOf(*parsed, domain, 5) : std::nullopt;
    if (!found)
        return "-";
    // With report mode 2 the collector would not ask for the cell on LTE.
    return found->reportMode == 0 && found->state == 5
        ? QString::fromStdString(found->lac + '/' + found->cellId)
        : "wrong mode or state";
}

QString chosenModem(const QString &choice)
{
    const auto modem = [](const QString &number, const QString &device) {
        return Interfaces{{kModemInterface, {{"EquipmentIdentifier", number}, {"Device", device}}}};
    };
    OnceWarnings warnings("modemmanager");
    const auto found = chooseModem(
        {{QDBusObjectPath("/Modem/10"), modem("490154203237518", "/sys/a")},
         {QDBusObjectPath("/Modem/9"), modem("356938035643809", "/sys/b")}},
        choice.isEmpty() ? ModemChoice() : ModemChoice(choice), warnings);
    return found ? found->path() : "-";
}

} // namespace

class tst_ModemManagerMapping : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void mapsValues_data() { addRows("modem-mapping.txt"); }

    void mapsValues()
    {
        const QString value = cell("value");
        const QString input = cell("input");
        const uint first = input.section(' ', 0, 0).toUInt(nullptr, 0);
        const auto number = [](const auto &result) {
            return result ? QString::number(*result) : QString("-");
        };
        QString meaning;
        if (value == "technology") {
            const auto info = systemInfoOf(first);
            meaning = info ? QString("%1 %2").arg(info->mode).arg(info->subMode) : "-";
        } else if (value == "location") {
            meaning = registration(input, Domain::CircuitSwitched) + ' '
                + registration(input, Domain::PacketSwitched);
        } else if (value == "lock") {
            meaning = number(lockStateOf(first, input.section(' ', 1).toUInt()));
        } else if (value == "type") {
            meaning = number(productTypeOf(first));
        } else {
            meaning = chosenModem(input);
        }
        QTEST(meaning, "meaning");
    }

    void raisesEventsBetweenSnapshots_data() { addRows("modem-events.txt"); }

    void raisesEventsBetweenSnapshots()
    {
        QStringList events;
        for (const auto event : eventsBetween(snapshot(cell("before")), snapshot(cell("after"))))
            events << QString::number(event);
        QTEST(events.join(' '), "events");
    }
};

QTEST_APPLESS_MAIN(tst_ModemManagerMapping)
#include "tst_modemmanagermapping.moc"
