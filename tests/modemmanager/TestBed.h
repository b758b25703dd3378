// SPDX-License-Identifier: MIT
#pragma once

#include "HostProcess.h"
#include "ModemScript.h"
#include "TestData.h"

#include <QDBusArgument>
#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QDBusMessage>
#include <QDBusMetaType>
#include <QDBusVirtualObject>
#include <QLocalServer>
#include <QLocalSocket>
#include <QPointer>
#include <QTemporaryDir>
#include <QTimer>

#include <cstdlib>
#include <memory>
#include <vector>

#include <pwd.h>
#include <unistd.h>

const QString kService = "org.freedesktop.ModemManager1";
const QString kPath = "/org/freedesktop/ModemManager1";

/// A modem on a local socket, to which the daemon connects.
class ScriptedModem : public QLocalServer, public ModemScript
{
public:
    explicit ScriptedModem(const QString &kinds) : ModemScript(kinds)
    {
        connect(this, &QLocalServer::newConnection, this, [this] {
            // The daemon opens a port several times; only the last connection is used.
            QLocalSocket *const port = nextPendingConnection();
            reset();
            m_port = port;
            connect(port, &QLocalSocket::readyRead, this, [this, port] {
                if (port != m_port)
                    return;
                feed(port->readAll());
                while (const auto exchange = next())
                    port->write(exchange->answer);
            });
        });
    }

    void say(const QByteArray &line) { m_port->write("\r\n" + line + "\r\n"); }

private:
    QPointer<QLocalSocket> m_port;
};

/// Grants or denies every authorization request, in place of the system's authority.
class Authority : public QDBusVirtualObject
{
public:
    bool grants = true;

    QString introspect(const QString &) const override { return {}; }
    bool handleMessage(const QDBusMessage &message, const QDBusConnection &connection) override
    {
        QDBusArgument verdict;
        verdict.beginStructure();
        verdict << grants << false << QMap<QString, QString>();
        verdict.endStructure();
        return connection.send(message.createReply(QVariant::fromValue(verdict)));
    }
};

/// A daemon with the modem of fake-modem.txt; it can give answers that the real one never gives,
/// give them late, or give none.
class FakeManager : public QDBusVirtualObject
{
public:
    QStringList calls;              ///< the methods that were called
    QHash<QString, int> answerTime; ///< of a method, in milliseconds; -1 stands for no answer
    bool isSilent = false;          ///< answers nothing at all
    QString errorText = "as the test says";
    int modems = 1;   ///< which differ by their IMEIs
    int messages = 0; ///< that each modem keeps

    explicit FakeManager(const QDBusConnection &connection) : m_connection(connection)
    {
        qDBusRegisterMetaType<Interfaces>();
        qDBusRegisterMetaType<Objects>();
        qDBusRegisterMetaType<Location>();
        m_connection.registerVirtualObject(kPath, this, QDBusConnection::SubPath);
        m_connection.registerService(kService);
        for (const TableRow &row : readTable("fake-modem.txt"))
            set(row["property"], row["value"]);
    }

    ~FakeManager() override
    {
        m_connection.unregisterService(kService);
        m_connection.unregisterObject(kPath, QDBusConnection::UnregisterTree);
    }

    /// Sets a property, or the value that a method returns. The value begins with its type, as
    /// "u:4"; a text that is the name of one of the daemon's errors makes the method fail. A name
    /// that ends with a dot removes the interface.
    void set(const QString &name, const QString &value)
    {
        if (name.endsWith('.'))
            m_interfaces.remove(interfaceOf(name));
        else if (name.contains('.'))
            m_interfaces[interfaceOf(name)][name.section('.', -1)] = typed(value);
        else
            m_answers[name] = typed(value);
    }

    /// Sets a property and signals the new value or, without `isTold`, that there is one.
    void change(const QString &name, const QString &value, bool isTold = true)
    {
        set(name, value);
        const QString property = name.section('.', -1);
        const QVariantMap changed{{property, m_interfaces[interfaceOf(name)][property]}};
        signal(name.startsWith("Sim.") ? "/SIM/0" : "/Modem/3", "org.freedesktop.DBus.Properties",
               "PropertiesChanged",
               {interfaceOf(name), isTold ? changed : QVariantMap(),
                isTold ? QStringList() : QStringList(property)});
    }

    /// Removes the modem, or adds it again, and signals that.
    void plug(bool isPlugged)
    {
        modems = isPlugged ? 1 : 0;
        const auto path = QVariant::fromValue(QDBusObjectPath(kPath + "/Modem/3"));
        const QString manager = "org.freedesktop.DBus.ObjectManager";
        if (isPlugged)
            signal({}, manager, "InterfacesAdded", {path, QVariant::fromValue(m_interfaces)});
        else
            signal({}, manager, "InterfacesRemoved", {path, QStringList(m_interfaces.keys())});
    }

    QString introspect(const QString &) const override { return {}; }
    bool handleMessage(const QDBusMessage &message, const QDBusConnection &connection) override
    {
        calls << message.member();
        const int time = isSilent ? -1 : answerTime.value(message.member());
        const QDBusMessage answer = answerTo(message);
        if (time == 0)
            return connection.send(answer);
        if (time > 0)
            QTimer::singleShot(time, this, [=] { connection.send(answer); });
        return true;
    }

private:
    using Interfaces = QMap<QString, QVariantMap>;
    using Objects = QMap<QDBusObjectPath, Interfaces>;
    using Location = QMap<uint, QDBusVariant>;

    static QString interfaceOf(const QString &name)
    {
        return kService + '.' + name.section('.', 0, -2);
    }

    QDBusMessage answerTo(const QDBusMessage &message)
    {
        const QString method = message.member();
        const QString interface = message.path().endsWith("/SIM/1")
            ? kService + ".OtherSim"
            : message.arguments().value(0).toString();
        const QVariantMap usual{{"GetManagedObjects", QVariant::fromValue(objects())},
                                {"GetAll", m_interfaces.value(interface)},
                                {"Create", typed("o:" + kPath + "/SMS/0")}};
        const QVariant answer = m_answers.value(method, usual.value(method));
        if (answer.toString().startsWith(kService + ".Error"))
            return message.createErrorReply(answer.toString(), errorText);
        static const QStringList withoutValue{"Enable", "Setup", "Send", "Delete"};
        if (answer.isValid() || withoutValue.contains(method))
            return message.createReply(answer.isValid() ? QVariantList{answer} : QVariantList());
        return message.createErrorReply(QDBusError::UnknownMethod, "none");
    }

    Objects objects() const
    {
        Interfaces modem = m_interfaces;
        QList<QDBusObjectPath> paths;
        for (int number = 0; number < messages; ++number)
            paths << QDBusObjectPath(kPath + "/SMS/" + QString::number(number));
        modem[kService + ".Modem.Messaging"]["Messages"] = QVariant::fromValue(paths);
        Objects objects;
        for (int number = 0; number < modems; ++number) {
            objects[QDBusObjectPath(kPath + "/Modem/" + QString::number(3 + number))] = modem;
            modem[kService + ".Modem"]["EquipmentIdentifier"] = QString::number(100'000'000'000'001
                                                                                + number);
        }
        return objects;
    }

    void signal(const QString &object, const QString &interface, const QString &name,
                const QVariantList &arguments)
    {
        auto signal = QDBusMessage::createSignal(kPath + object, interface, name);
        signal.setArguments(arguments);
        m_connection.send(signal);
    }

    static QVariant typed(const QString &text)
    {
        const QString type = text.section(':', 0, 0);
        const QString value = text.section(':', 1);
        if (type == "o")
            return QVariant::fromValue(QDBusObjectPath(value));
        if (type == "as")
            return value.split(',');
        if (type == "ao") {
            QList<QDBusObjectPath> paths;
            for (const QString &path : value.split(','))
                paths << QDBusObjectPath(path);
            return QVariant::fromValue(paths);
        }
        if (type == "objects")
            return QVariant::fromValue(Objects());
        if (type == "nowhere")
            return QVariant::fromValue(Location());
        if (type == "place")
            return QVariant::fromValue(Location{{1u, QDBusVariant(value)}});
        QVariant converted(value);
        converted.convert(QDBusMetaType::signatureToMetaType(type.toLatin1()));
        return converted;
    }

    QDBusConnection m_connection;
    Interfaces m_interfaces;
    QVariantMap m_answers;
};

/// A message bus of the test's own and the peers on it, which end with the object. The peers answer
/// on the test's thread, so the test waits in its event loop and never blocks.
class TestBed
{
public:
    Child bus;
    Child daemon;
    QDBusConnection connection{"none"};
    Authority authority;

    TestBed()
    {
        // CTest calls the test skipped.
        if (!getpwuid(geteuid())) {
            qInfo("Skipped: a message bus accepts no user whose number has no name");
            std::exit(77);
        }
        startBus();
    }

    /// Starts the bus, and the authority on it. Each bus of a process has the same address: D-Bus
    /// reads it once.
    void startBus()
    {
        static const QTemporaryDir folder;
        const QString address = "unix:path=" + folder.filePath("bus");
        QDBusConnection::disconnectFromBus("test-bed");
        bus.start(DBUS_DAEMON,
                  {"--config-file=" BUS_CONFIGURATION, "--nofork", "--nopidfile",
                   "--print-address=1", "--address=" + address});
        bus.waitForReadyRead(kPatienceMs);
        qputenv("DBUS_SYSTEM_BUS_ADDRESS", address.toUtf8());
        connection = QDBusConnection::connectToBus(QDBusConnection::SystemBus, "test-bed");
        qDBusRegisterMetaType<QMap<QString, QString>>();
        if (!connection.registerVirtualObject("/org/freedesktop/PolicyKit1/Authority", &authority)
            || !connection.registerService("org.freedesktop.PolicyKit1"))
            qFatal("no message bus");
    }

    ~TestBed() { QDBusConnection::disconnectFromBus("test-bed"); }

    /// Starts the daemon and waits until it is on the bus. It accepts AT commands only if
    /// `rawCommands` is set.
    bool startDaemon(bool rawCommands = false)
    {
        // With --test-session the daemon would not ask for authorization.
        daemon.setStandardErrorFile(QProcess::nullDevice());
        daemon.start(MODEM_MANAGER,
                     {"--test-enable", "--test-no-udev", "--test-no-suspend-resume",
                      "--test-no-qrtr", rawCommands ? "--debug" : "--log-level=ERR"});
        m_plugged = 0;
        return QTest::qWaitFor(
            [this] { return connection.interface()->isServiceRegistered(kService); }, kPatienceMs);
    }

    /// Creates a modem and waits until the daemon lists it; returns null if it does not.
    ScriptedModem *plug(const QString &kinds, const QHash<QString, QString> &answers = {})
    {
        m_modems.push_back(std::make_unique<ScriptedModem>(kinds));
        ScriptedModem &modem = *m_modems.back();
        modem.answers.insert(answers);
        return modem.listen(m_folder.filePath(QString("modem%1").arg(m_modems.size())))
                && plugAgain(modem)
            ? &modem
            : nullptr;
    }

    bool plugAgain(const ScriptedModem &modem)
    {
        return call(kPath, kService + ".Test", "SetProfile",
                    {name(modem), "generic", QStringList(modem.fullServerName())})
            && waitForModem(m_plugged++);
    }

    bool waitForModem(int number)
    {
        return QTest::qWaitFor([&] { return !witness(number).isEmpty(); }, kPatienceMs);
    }

    /// Makes the daemon release a modem, or use it again.
    bool inhibit(const ScriptedModem &modem, bool inhibited)
    {
        return call(kPath, kService, "InhibitDevice", {"/virtual/" + name(modem), inhibited});
    }

    bool call(const QString &path, const QString &interface, const QString &method,
              const QVariantList &arguments)
    {
        auto message = QDBusMessage::createMethodCall(kService, path, interface, method);
        message.setArguments(arguments);
        return connection.call(message, QDBus::BlockWithGui, kPatienceMs).type()
            == QDBusMessage::ReplyMessage;
    }

    /// Returns what the daemon's command-line client prints about a modem, by the client's keys.
    /// `options` select what is printed.
    QHash<QString, QString> witness(int modem, const QStringList &options = {})
    {
        Child client;
        client.start(MMCLI,
                     QStringList{"--output-keyvalue", "-m", QString::number(modem)} + options);
        QHash<QString, QString> values;
        const QByteArray output = client.ends() ? client.readAllStandardOutput() : QByteArray();
        for (const QByteArray &line : output.split('\n')) {
            const QString text = QString::fromUtf8(line).replace("--", "");
            if (text.contains(':'))
                values[text.section(':', 0, 0).trimmed()] = text.section(':', 1).trimmed();
        }
        return values;
    }

private:
    static constexpr int kPatienceMs = 10'000;
    static QString name(const ScriptedModem &modem)
    {
        return modem.fullServerName().section('/', -1);
    }

    QTemporaryDir m_folder;
    std::vector<std::unique_ptr<ScriptedModem>> m_modems;
    int m_plugged = 0; // modems since the daemon started, which numbers them from 0
};
