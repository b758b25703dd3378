// SPDX-License-Identifier: MIT
#pragma once

#include <QtCore/QHash>
#include <QtCore/QList>
#include <QtCore/QMutex>
#include <QtCore/QObject>
#include <QtCore/QPointer>
#include <QtCore/QWaitCondition>
#include <QtNetwork/QLocalServer>
#include <QtNetwork/QLocalSocket>

using Script = QHash<QByteArray, QByteArray>;

/// A modem that answers AT commands by a script, on a local socket that the daemon connects to.
///
/// Lives on a thread with an event loop, since the daemon asks while a test waits for an answer;
/// any thread may change the script and read the journal. What the script does not know is ERROR.
class ScriptedModem : public QObject
{
public:
    /// A registered modem of 3G, of LTE, or of the CDMA family.
    static Script umts();
    static Script lte();
    static Script cdma();

    ScriptedModem(const QString &socketPath, Script script);

    /// Listens; on the modem's thread.
    bool listen();
    QString socketPath() const { return m_path; }
    QString name() const { return m_path.mid(m_path.lastIndexOf(QLatin1Char('/')) + 1); }

    /// An answer without its OK, or a final line that says of an error; several lines are parted by
    /// "\r\n". "AT" belongs to the command.
    void setAnswer(const QByteArray &command, const QByteArray &answer);

    /// Says a line that nobody asked for.
    void say(const QByteArray &line);

    /// Takes commands and answers none of them.
    void setSilent(bool silent);

    /// Commands, and messages in hex, in the order in which they came.
    QList<QByteArray> journal() const;

private:
    void accept();
    void read();
    void obey(const QByteArray &command);
    void finish(const QByteArray &answer);
    void write(const QByteArray &bytes);

    const QString m_path;
    QLocalServer *m_server = nullptr;
    QPointer<QLocalSocket> m_socket;
    QByteArray m_input;
    bool m_takesMessage = false;

    mutable QMutex m_mutex;
    Script m_script;
    bool m_silent = false;
    QList<QByteArray> m_journal;
};
