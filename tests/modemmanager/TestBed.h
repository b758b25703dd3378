// SPDX-License-Identifier: MIT
#pragma once

#include "HostProcess.h"
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

#include <limits>
#include <memory>
#include <vector>

const QString kService = "org.freedesktop.ModemManager1";
const QString kPath = "/org/freedesktop/ModemManager1";

/// A modem that answers AT commands as in modems.txt, on a local socket to which the daemon
/// connects.
class ScriptedModem : public QLocalServer
{
public:
    QHash<QString, QString> answers; ///< by command; "silence" stands for no answer
    QByteArrayList journal;          ///< the received commands, and messages as hexadecimal PDUs

    /// `kinds` are separated by blanks; the modem has the answers of each.
    explicit ScriptedModem(const QString &kinds)
    {
        for (const TableRow &row : readTable("modems.txt")) {
            if (kinds.split(' ').contains(row["kind"]))
                answers[row["command"]] = row["answer"];
        }
        connect(this, &QLocalServer::newConnection, this, [this] {
            // The daemon opens a port several times; only the last connection is used.
            m_port = nextPendingConnection();
            m_input.clear();
            m_takesMessage = false;
            connect(m_port, &QLocalSocket::readyRead, this, &ScriptedModem::read);
        });
    }

    void say(const QByteArray &line) { m_port->write("\r\n" + line + "\r\n"); }

private:
    void read()
    {
        if (sender() != m_port)
            return;
        m_input += m_port->readAll();
        for (qsizetype end; (end = m_input.indexOf(m_takesMessage ? '\x1a' : '\r')) >= 0;) {
            const QByteArray command = m_input.left(end).trimmed();
            m_input.remove(0, end + 1);
            if (command.isEmpty())
                continue;
            journal << command;
            const bool isMessage = std::exchange(m_takesMessage, command.startsWith("AT+CMGS="));
            const auto answer = answers.value(isMessage ? "message" : command, "ERROR").toUtf8();
            if (m_takesMessage)
                m_port->write("\r\n> ");
            else if (answer != "silence")
                say(answer == "OK" || answer.contains("ERROR") ? answer : answer + "\r\n\r\nOK");
        }
    }

    QPointer<QLocalSocket> m_port;
    QByteArray m_input;
    bool m_takesMessage = false;
};

/// An object on the message bus that answers each method with one value, or with an error where
/// it has none.
class BusObject : public QDBusVirtualObject
{
public:
    int answersLeft = std::numeric_limits<int>::max(); ///< falls silent at 0

    QString introspect(const QString &) const override { return {}; }
    bool handleMessage(const QDBusMessage &message, const QDBusConnection &connection) override
    {
        if (answersLeft == 0)
            return true;
        --answersLeft;
        const QVariant value = answer(message.member());
        return connection.send(value.isValid()
                                   ? message.createReply(value)
                                   : message.createErrorReply(QDBusError::UnknownMethod, "none"));
    }

private:
    virtual QVariant answer(const QString &method) = 0;
};

/// Grants or denies every authorization request, in place of the system's authority.
class Authority : public BusObject
{
public:
    bool grants = true;

private:
    QVariant answer(const QString &) override
    {
        QDBusArgument verdict;
        verdict.beginStructure();
        verdict << grants << false << QMap<QString, QString>();
        verdict.endStructure();
        return QVariant::fromValue(verdict);
    }
};

/// A daemon with the modem of fake-modem.txt; it can give answers that the real one never gives.
class FakeManager : public BusObject
{
public:
    explicit FakeManager(QDBusConnection &connection) : m_connection(connection)
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
    /// "u:4". A name that ends with a dot removes the interface.
    void set(const QString &name, const QString &value)
    {
        const QString interface = kService + '.' + name.section('.', 0, -2);
        if (name.endsWith('.'))
            m_interfaces.remove(interface);
        else if (name.contains('.'))
            m_interfaces[interface][name.section('.', -1)] = typed(value);
        else
            m_answers[name] = typed(value);
    }

    /// Signals that a property of the modem has changed.
    void signalChange()
    {
        auto signal = QDBusMessage::createSignal(
            kPath + "/Modem/3", "org.freedesktop.DBus.Properties", "PropertiesChanged");
        signal.setArguments({kService + ".Modem", QVariantMap(), QStringList()});
        m_connection.send(signal);
    }

private:
    using Interfaces = QMap<QString, QVariantMap>;
    using Objects = QMap<QDBusObjectPath, Interfaces>;
    using Location = QMap<uint, QDBusVariant>;

    QVariant answer(const QString &method) override
    {
        const Objects objects{{QDBusObjectPath(kPath + "/Modem/3"), m_interfaces}};
        const QVariantMap usual{{"GetManagedObjects", QVariant::fromValue(objects)},
                                {"GetAll", m_interfaces.value(kService + ".Sim")}};
        return m_answers.value(method, usual.value(method));
    }

    static QVariant typed(const QString &text)
    {
        const QString type = text.section(':', 0, 0);
        const QString value = text.section(':', 1);
        if (type == "o")
            return QVariant::fromValue(QDBusObjectPath(value));
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
        bus.start(
            DBUS_DAEMON,
            {"--config-file=" BUS_CONFIGURATION, "--nofork", "--nopidfile", "--print-address=1"});
        bus.waitForReadyRead(kPatienceMs);
        qputenv("DBUS_SYSTEM_BUS_ADDRESS", bus.readLine().trimmed());
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
    ScriptedModem *plug(const QString &kinds)
    {
        m_modems.push_back(std::make_unique<ScriptedModem>(kinds));
        ScriptedModem &modem = *m_modems.back();
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
