// SPDX-License-Identifier: MIT
#include "ModemManagerMapping.h"

#include <QtTest/QTest>

using namespace devsrv;

Q_DECLARE_METATYPE(devsrv::Sight)

namespace {

using Events = std::vector<std::int32_t>;

ModemFacts registered()
{
    ModemFacts facts;
    facts.path = QStringLiteral("/Modem/0");
    facts.state = 8;
    facts.sim = QStringLiteral("/SIM/0");
    facts.unlockRequired = 1;
    facts.accessTechnologies = 16384;
    facts.registrationState = 1;
    facts.operatorCode = QStringLiteral("21407");
    facts.location = QStringLiteral("214,07,0,102F304,1A2B");
    return facts;
}

Sight seen(const ModemFacts &facts, const QString &daemon = QStringLiteral(":1.1"))
{
    return {daemon, facts};
}

Sight noModem()
{
    return {QStringLiteral(":1.1"), std::nullopt};
}

template <typename Value>
ModemFacts changed(Value ModemFacts::*field, Value value)
{
    ModemFacts facts = registered();
    facts.*field = std::move(value);
    return facts;
}

} // namespace

class ModemManagerMappingTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void accessTechnology_data();
    void accessTechnology();
    void location_data();
    void location();
    void lock_data();
    void lock();
    void productType_data();
    void productType();
    void events_data();
    void events();
    void choice();
};

void ModemManagerMappingTest::accessTechnology_data()
{
    QTest::addColumn<uint>("flags");
    QTest::addColumn<int>("mode");
    QTest::addColumn<int>("subMode");
    QTest::newRow("unknown") << 0u << 0 << 0;
    QTest::newRow("flag of later daemons") << 0x8000u << 0 << 0;
    QTest::newRow("GSM") << 2u << 3 << 1;
    QTest::newRow("GPRS beats GSM") << 10u << 3 << 2;
    QTest::newRow("EDGE") << 16u << 3 << 3;
    QTest::newRow("UMTS") << 32u << 5 << 41;
    QTest::newRow("HSDPA beats UMTS") << 96u << 5 << 42;
    QTest::newRow("HSUPA") << 128u << 5 << 43;
    QTest::newRow("HSPA") << 256u << 5 << 44;
    QTest::newRow("HSPA+ beats all of 3G") << 0x3e0u << 5 << 45;
    QTest::newRow("1x") << 1024u << 2 << 23;
    QTest::newRow("EV-DO 0 beats 1x") << 3072u << 4 << 24;
    QTest::newRow("EV-DO A") << 4096u << 4 << 25;
    QTest::newRow("EV-DO B") << 8192u << 4 << 26;
    QTest::newRow("LTE beats all") << 0x7fffu << 6 << 101;
    QTest::newRow("LTE for machines") << 0x20000u << 6 << 101;
    QTest::newRow("LTE under 5G") << 0xc000u << 6 << 101;
}

void ModemManagerMappingTest::accessTechnology()
{
    QFETCH(uint, flags);
    const auto info = systemInfoOf(flags).value_or(SystemInfo{});
    QTEST(info.mode, "mode");
    QTEST(info.subMode, "subMode");
}

void ModemManagerMappingTest::location_data()
{
    const auto row = [](const char *name, const char *location, const char *circuit,
                        const char *packet) {
        QTest::newRow(name) << QString::fromLatin1(location) << QByteArray(circuit)
                            << QByteArray(packet);
    };
    QTest::addColumn<QString>("location");
    QTest::addColumn<QByteArray>("circuit"); // area/cell, empty for nothing
    QTest::addColumn<QByteArray>("packet");
    row("3G", "214,07,31C5,83F7CD,0", "31C5/83F7CD", "31C5/83F7CD");
    row("LTE", "214,07,0,102F304,1A2B", "", "1A2B/102F304");
    row("LTE with a deleted area", "214,07,FFFE,102F304,1A2B", "", "1A2B/102F304");
    row("both areas", "214,07,31C5,102F304,1A2B", "31C5/102F304", "1A2B/102F304");
    row("padded", "214,07,00A1,0000,000000", "00A1/0000", "00A1/0000");
    row("lower case", "214,007,31c5,83f7cd,0", "31c5/83f7cd", "31c5/83f7cd");
    row("empty", "", "", "");
    row("no area", "214,07,0,0,0", "", "");
    row("field missing", "214,07,31C5,83F7CD", "", "");
    row("field too many", "214,07,31C5,83F7CD,0,0", "", "");
    row("empty fields", ",,,,", "", "");
    row("not hex", "214,07,31C5,cell,0", "", "");
    row("too large", "214,07,31C5,11112222333344445,0", "", "");
}

void ModemManagerMappingTest::location()
{
    QFETCH(QString, location);
    const auto told = [&](Domain domain) -> QByteArray {
        const auto parsed = parseLocation(location);
        const auto registration = parsed ? registrationOf(*parsed, domain, 5) : std::nullopt;
        if (!registration)
            return {};
        // With mode 2 a listener would not ask for the cell on LTE.
        return registration->reportMode == 0 && registration->state == 5
            ? QByteArray::fromStdString(registration->lac + '/' + registration->cellId)
            : QByteArray("wrong mode or state");
    };
    QTEST(told(Domain::CircuitSwitched), "circuit");
    QTEST(told(Domain::PacketSwitched), "packet");
}

void ModemManagerMappingTest::lock_data()
{
    QTest::addColumn<uint>("required");
    QTest::addColumn<uint>("facilities");
    QTest::addColumn<int>("state"); // -1 for nothing
    QTest::newRow("not known yet") << 0u << 16u << -1;
    QTest::newRow("none") << 1u << 0u << 0;
    QTest::newRow("PIN was entered") << 1u << 1u << 0;
    QTest::newRow("waits for the PIN") << 2u << 0u << 2;
    QTest::newRow("waits for the PUK") << 4u << 16u << 4;
    QTest::newRow("waits for the second PIN") << 3u << 0u << 0;
    QTest::newRow("waits for the second PUK") << 5u << 0u << 0;
    QTest::newRow("waits for the network's code") << 8u << 0u << 8;
    QTest::newRow("bound to its network") << 1u << 17u << 8;
    QTest::newRow("bound to its SIM") << 1u << 4u << 10;
    QTest::newRow("second PIN, bound to its provider") << 3u << 64u << 6;
}

void ModemManagerMappingTest::lock()
{
    QFETCH(uint, required);
    QFETCH(uint, facilities);
    const auto state = lockStateOf(required, facilities);
    QTEST(state ? int(*state) : -1, "state");
}

void ModemManagerMappingTest::productType_data()
{
    QTest::addColumn<uint>("capabilities");
    QTest::addColumn<int>("type"); // -1 for nothing
    QTest::newRow("not known") << 0u << -1;
    QTest::newRow("GSM/UMTS") << 4u << 0;
    QTest::newRow("GSM/UMTS and LTE") << 12u << 0;
    QTest::newRow("LTE") << 8u << 0;
    QTest::newRow("CDMA") << 2u << 1;
    QTest::newRow("CDMA and LTE") << 10u << 1;
    QTest::newRow("all") << 14u << 0;
}

void ModemManagerMappingTest::productType()
{
    QFETCH(uint, capabilities);
    QTEST(productTypeOf(capabilities).value_or(-1), "type");
}

void ModemManagerMappingTest::events_data()
{
    QTest::addColumn<Sight>("before");
    QTest::addColumn<Sight>("after");
    QTest::addColumn<Events>("events");
    const auto row = [](const char *name, const Sight &before, const Sight &after,
                        const Events &events) { QTest::newRow(name) << before << after << events; };
    const Sight ready = seen(registered());
    const auto to = [&](const char *name, const ModemFacts &facts, const Events &events) {
        QTest::newRow(name) << seen(registered()) << seen(facts) << events;
    };
    row("same again", ready, ready, {});
    row("no modem, as before", noModem(), noModem(), {});
    row("daemon without modem gone", noModem(), {}, {});
    row("added, ready", noModem(), ready, {6002, 6014});
    row("added, disabled", noModem(), seen(changed(&ModemFacts::state, 3)), {6002, 6014});
    row("added, locked", noModem(), seen(changed(&ModemFacts::state, 2)), {6002});
    row("added, without SIM", noModem(), seen(changed(&ModemFacts::state, -1)), {6002});
    row("daemon came", {}, ready, {6002, 6014});
    row("removed", ready, noModem(), {6601, 6002});
    row("daemon gone", ready, {}, {6603});
    row("daemon came back before it was missed", ready, seen(registered(), QStringLiteral(":1.2")),
        {6603, 6002, 6014});
    row("another modem", ready, seen(changed(&ModemFacts::path, QStringLiteral("/Modem/1"))),
        {6601, 6002, 6002, 6014});
    row("enabled", seen(changed(&ModemFacts::state, 3)), seen(changed(&ModemFacts::state, 7)),
        {6602});
    row("enabled and registered", seen(changed(&ModemFacts::state, 3)), ready, {6602, 6614});
    row("unlocked", seen(changed(&ModemFacts::unlockRequired, 2u)), ready, {6016});
    row("initialized", seen(changed(&ModemFacts::state, 2)), seen(changed(&ModemFacts::state, 3)),
        {6014});
    to("disabled", changed(&ModemFacts::state, 3), {6614});
    to("connected", changed(&ModemFacts::state, 11), {});
    to("SIM taken out", changed(&ModemFacts::sim, QStringLiteral("/")), {6016});
    to("lock of the network set", changed(&ModemFacts::facilityLocks, 16u), {6016});
    to("technology", changed(&ModemFacts::accessTechnologies, 32u), {6614});
    to("roaming", changed(&ModemFacts::registrationState, 5u), {6614});
    to("operator", changed(&ModemFacts::operatorCode, QStringLiteral("21401")), {6614});
    to("cell", changed(&ModemFacts::location, QStringLiteral("214,07,0,102F305,1A2B")), {6614});
}

void ModemManagerMappingTest::events()
{
    QFETCH(Sight, before);
    QFETCH(Sight, after);
    QTEST(eventsBetween(before, after), "events");
}

void ModemManagerMappingTest::choice()
{
    const auto modem = [](const char *imei) {
        return Interfaces{{kModemInterface,
                           {{QStringLiteral("EquipmentIdentifier"), QString::fromLatin1(imei)}}}};
    };
    const auto path = [](const char *name) { return QDBusObjectPath(QLatin1String(name)); };
    const Objects objects{{path("/Modem/1"), {{k3gppInterface, {}}}},
                          {path("/Modem/10"), modem("490154203237518")},
                          {path("/Modem/9"), modem("356938035643809")}};
    OnceWarnings warnings;
    const auto chosen = [&](const char *imei) {
        const auto found = chooseModem(objects, QString::fromLatin1(imei), warnings);
        return found ? found->path() : QString();
    };
    QTest::ignoreMessage(QtWarningMsg,
                         "modemmanager: /Modem/1 has no interface "
                         "org.freedesktop.ModemManager1.Modem");
    QCOMPARE(chosen(""), QStringLiteral("/Modem/9"));
    QCOMPARE(chosen("490154203237518"), QStringLiteral("/Modem/10"));
    QCOMPARE(chosen("490154203237519"), QString());
}

QTEST_APPLESS_MAIN(ModemManagerMappingTest)
#include "tst_modemmanagermapping.moc"
