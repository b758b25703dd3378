// SPDX-License-Identifier: MIT
#include "TestData.h"
#include "modemmanager/ModemManagerMapping.h"

#include <QTest>

using namespace devsrv;

namespace {

// Returns a registered modem, changed by words of the form NAME=VALUE.
EventState snapshot(const QString &words)
{
    const QString usual = "daemon=:1.1 modem=/Modem/0 state=8 sim=/SIM/0 unlock=1 technology=16384 "
                          "registration=1 operator=21407 location=214,07,0,102F304,1A2B ";
    QHash<QString, QString> values;
    for (const QString &word : (usual + words).split(' ', Qt::SkipEmptyParts))
        values[word.section('=', 0, 0)] = word.section('=', 1);
    const auto number = [&](const char *name) { return values[name].toUInt(); };
    EventState state{values["daemon"], std::nullopt};
    if (!values["modem"].isEmpty())
        state.modem = {values["modem"],        values["state"].toInt(), values["sim"],
                       number("unlock"),       number("locks"),         number("technology"),
                       number("registration"), values["operator"],      values["location"]};
    return state;
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

QString chosenModem(const QString &imei)
{
    const auto modem = [](const QString &number) {
        return Interfaces{{kModemInterface, {{"EquipmentIdentifier", number}}}};
    };
    OnceWarnings warnings;
    const auto found = chooseModem({{QDBusObjectPath("/Modem/10"), modem("490154203237518")},
                                    {QDBusObjectPath("/Modem/9"), modem("356938035643809")}},
                                   imei, warnings);
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
