// SPDX-License-Identifier: MIT
#pragma once

#include <QDBusConnection>
#include <QDBusContext>
#include <QDBusMessage>
#include <QDBusVirtualObject>
#include <QLocalServer>
#include <QLocalSocket>
#include <QPointer>
#include <QProcess>
#include <QTemporaryDir>

#include <memory>
#include <vector>

/// A process that ends with its object, or with a test that crashes.
class Child : public QProcess
{
public:
    Child();
    ~Child() override;
};

/// A modem that answers AT commands by modems.txt, on a local socket that the daemon connects to.
class ScriptedModem : public QLocalServer
{
public:
    /// Listens as a modem of all of these kinds.
    ScriptedModem(const QString &path, const QString &kinds);

    /// Says a line that nobody asked for.
    void say(const QByteArray &line);

    QHash<QString, QString> answers; // "silence" is none
    QByteArrayList journal;          // commands, and messages in hex

private:
    void read();

    QPointer<QLocalSocket> m_port;
    QByteArray m_input;
    bool m_takesMessage = false;
};

/// Says yes or no to whoever asks for a right, in the place of the system's authority.
class Authority : public QObject, protected QDBusContext
{
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.PolicyKit1.Authority")

public:
    bool grants = true;

public Q_SLOTS:
    Q_SCRIPTABLE void CheckAuthorization(const QDBusMessage &message);
};

/// A daemon that says of a modem what no real one says, or says nothing.
class FakeManager : public QDBusVirtualObject
{
public:
    /// Is the daemon for as long as the object lives.
    explicit FakeManager(QDBusConnection &connection);
    ~FakeManager() override;

    /// Tells of some change.
    void change();

    /// Begins anew with the modem of fake-modem.txt.
    void reset();

    /// Sets a property, or the answer to a method, to a value with the letters of its type; takes
    /// away an interface whose name ends with a dot.
    void set(const QString &what, const QString &value);

    QString introspect(const QString &path) const override;
    bool handleMessage(const QDBusMessage &message, const QDBusConnection &connection) override;

    int answersLeft = 0;

private:
    QDBusConnection &m_connection;
    QMap<QString, QVariantMap> m_interfaces;
    QVariantMap m_answers;
};

/// A message bus of a test's own and the peers on it, all of which end with the object. The peers
/// answer on the test's thread, which therefore never blocks but waits in its event loop.
class TestBed
{
public:
    TestBed();
    ~TestBed();

    /// Starts the daemon; it passes raw AT commands on only if `rawCommands`.
    bool startDaemon(bool rawCommands = false);
    void killDaemon();

    /// Makes a modem and waits until the daemon lists it; null if it does not.
    ScriptedModem *plug(const QString &kinds);
    bool plugAgain(const ScriptedModem &modem);
    bool waitForModem(int number);

    /// Takes a modem from the daemon, or gives it back.
    bool inhibit(const ScriptedModem &modem, bool inhibited);

    bool call(const QString &path, const QString &interface, const QString &method,
              const QVariantList &arguments);

    /// What the daemon's command-line client says of the modem of a number, by its keys.
    QHash<QString, QString> witness(const QString &modem, const QStringList &what = {});

    QDBusConnection connection;
    Authority authority;

private:
    QTemporaryDir m_folder;
    Child m_bus;
    Child m_daemon;
    std::vector<std::unique_ptr<ScriptedModem>> m_modems;
    int m_plugged = 0; // since the daemon runs, which numbers modems from 0
};
