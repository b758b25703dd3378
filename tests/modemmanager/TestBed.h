// SPDX-License-Identifier: MIT
#pragma once

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
#include <QProcess>
#include <QTemporaryDir>
#include <QTest>

#include <csignal>
#include <memory>
#include <sys/prctl.h>
#include <vector>

const QString kService = "org.freedesktop.ModemManager1";
const QString kPath = "/org/freedesktop/ModemManager1";

/// A process that ends with its object, or with a test that crashes.
class Child : public QProcess
{
public:
    Child()
    {
        setChildProcessModifier([] { ::prctl(PR_SET_PDEATHSIG, SIGKILL); });
    }
    ~Child() override { end(); }
    void end()
    {
        kill();
        waitForFinished();
    }
    // In less time than D-Bus waits by itself, 25 s, or than start-up may take in all, 30 s.
    bool ends()
    {
        return QTest::qWaitFor([this] { return state() == NotRunning; }, 15'000)
            && exitStatus() == NormalExit;
    }
};

/// A modem that answers AT commands by modems.txt, on a local socket that the daemon connects to.
class ScriptedModem : public QLocalServer
{
public:
    QHash<QString, QString> answers; // "silence" is none
    QByteArrayList journal;          // commands, and messages in hex

    /// A modem of all of these kinds.
    explicit ScriptedModem(const QString &kinds)
    {
        for (const QStringList &line : readTable("modems.txt")) {
            if (kinds.split(' ').contains(line[0]))
                answers[line[1]] = line[2];
        }
        connect(this, &QLocalServer::newConnection, this, [this] {
            // The daemon closes a port and opens it again: the last connection counts.
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

/// Says yes or no to whoever asks for a right, in the place of the system's authority.
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

/// A daemon that says of the modem of fake-modem.txt what no real one says, or says nothing.
class FakeManager : public QDBusVirtualObject
{
public:
    int answersLeft = 1'000;

    explicit FakeManager(QDBusConnection &connection) : m_connection(connection)
    {
        qDBusRegisterMetaType<Interfaces>();
        qDBusRegisterMetaType<Objects>();
        qDBusRegisterMetaType<Location>();
        m_connection.registerVirtualObject(kPath, this, QDBusConnection::SubPath);
        m_connection.registerService(kService);
        for (const QStringList &line : readTable("fake-modem.txt").mid(1))
            set(line[0], line[1]);
    }

    ~FakeManager() override
    {
        m_connection.unregisterService(kService);
        m_connection.unregisterObject(kPath, QDBusConnection::UnregisterTree);
    }

    /// Sets a property, or the answer to a method, to a value with the letters of its type; takes
    /// away an interface whose name ends with a dot.
    void set(const QString &what, const QString &value)
    {
        const QString interface = kService + '.' + what.section('.', 0, -2);
        if (what.endsWith('.'))
            m_interfaces.remove(interface);
        else if (what.contains('.'))
            m_interfaces[interface][what.section('.', -1)] = typed(value);
        else
            m_answers[what] = typed(value);
    }

    /// Tells of some change.
    void change()
    {
        auto signal = QDBusMessage::createSignal(
            kPath + "/Modem/3", "org.freedesktop.DBus.Properties", "PropertiesChanged");
        signal.setArguments({kService + ".Modem", QVariantMap(), QStringList()});
        m_connection.send(signal);
    }

    QString introspect(const QString &) const override { return {}; }
    bool handleMessage(const QDBusMessage &message, const QDBusConnection &connection) override
    {
        if (answersLeft == 0)
            return true;
        --answersLeft;
        const Objects objects{{QDBusObjectPath(kPath + "/Modem/3"), m_interfaces}};
        QVariantMap answers{{"GetManagedObjects", QVariant::fromValue(objects)},
                            {"GetAll", m_interfaces.value(kService + ".Sim")}};
        answers.insert(m_answers);
        const QVariant answer = answers.value(message.member());
        return connection.send(answer.isValid()
                                   ? message.createReply(answer)
                                   : message.createErrorReply(QDBusError::UnknownMethod, "none"));
    }

private:
    using Interfaces = QMap<QString, QVariantMap>;
    using Objects = QMap<QDBusObjectPath, Interfaces>;
    using Location = QMap<uint, QDBusVariant>;

    static QVariant typed(const QString &text)
    {
        const QString value = text.section(':', 1);
        const QHash<QString, QVariant> values{
            {"s", value},
            {"as", QStringList(value)},
            {"i", value.toInt()},
            {"u", value.toUInt()},
            {"b", value == "1"},
            {"o", QVariant::fromValue(QDBusObjectPath(value.startsWith('/') ? value : "/"))},
            {"objects", QVariant::fromValue(Objects())},
            {"nowhere", QVariant::fromValue(Location())},
            {"place", QVariant::fromValue(Location{{1u, QDBusVariant(value)}})}};
        return values.value(text.section(':', 0, 0));
    }

    QDBusConnection m_connection;
    Interfaces m_interfaces;
    QVariantMap m_answers;
};

/// A message bus of a test's own and the peers on it, all of which end with the object. The peers
/// answer on the test's thread, which therefore never blocks but waits in its event loop.
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

    /// Starts the daemon; it passes raw AT commands on only if `rawCommands`.
    bool startDaemon(bool rawCommands = false)
    {
        // Not with --test-session: the daemon would then ask for no rights.
        daemon.setStandardErrorFile(QProcess::nullDevice());
        daemon.start(MODEM_MANAGER,
                     {"--test-enable", "--test-no-udev", "--test-no-suspend-resume",
                      "--test-no-qrtr", rawCommands ? "--debug" : "--log-level=ERR"});
        m_plugged = 0;
        return QTest::qWaitFor(
            [this] { return connection.interface()->isServiceRegistered(kService); }, kPatienceMs);
    }

    /// Makes a modem and waits until the daemon lists it; null if it does not.
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

    /// Takes a modem from the daemon, or gives it back.
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

    /// What the daemon's command-line client says of the modem of a number, by its keys.
    QHash<QString, QString> witness(int modem, const QStringList &what = {})
    {
        Child client;
        client.start(MMCLI, QStringList{"--output-keyvalue", "-m", QString::number(modem)} + what);
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
    int m_plugged = 0; // since the daemon runs, which numbers modems from 0
};
