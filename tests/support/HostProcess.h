// SPDX-License-Identifier: MIT
#pragma once

#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QTest>

#include <csignal>
#include <sys/prctl.h>

/// A child process that is killed with its object, and also when the test crashes.
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
    /// Waits until the process has exited by itself. The limit is less than D-Bus's own time-out
    /// of 25 s and less than the 30 s that start-up may take.
    bool ends()
    {
        return QTest::qWaitFor([this] { return state() == NotRunning; }, 15'000)
            && exitStatus() == NormalExit;
    }
};

/// A run of the kestrun command.
class HostProcess : public Child
{
public:
    QByteArray said; ///< the output that says() has read since it was last called

    HostProcess() = default;
    explicit HostProcess(const QStringList &arguments) { start(QStringLiteral(HOST), arguments); }

    /// Waits until each of the texts has appeared in the output, in any order. Output that an
    /// earlier call has read does not count.
    bool says(const QByteArrayList &texts)
    {
        QByteArrayList missing = texts;
        const auto isComplete = [&] {
            said += readAllStandardOutput() + readAllStandardError();
            missing.removeIf([this](const QByteArray &text) { return said.contains(text); });
            return missing.isEmpty();
        };
        said.clear();
        const bool complete = QTest::qWaitFor(isComplete, 15'000);
        if (!complete)
            qWarning().noquote() << "no" << missing << "in" << said;
        return complete;
    }

    /// Sends the signal; returns true if the command then exits with 0 and no callback is left.
    bool stop(int signal = SIGINT)
    {
        ::kill(pid_t(processId()), signal);
        return says({"{\"callbacks\":0,"}) && ends() && exitCode() == 0;
    }
};

/// What a program wrote, and its exit status; -1 if it did not end by itself.
struct Run
{
    int status = -1;
    QByteArray output;
    QByteArray error;
};

/// Runs a program to its end.
inline Run run(const QString &program, const QStringList &arguments)
{
    Child child;
    child.start(program, arguments);
    const bool ended = child.waitForFinished() && child.exitStatus() == QProcess::NormalExit;
    return {ended ? child.exitCode() : -1, child.readAllStandardOutput(),
            child.readAllStandardError()};
}

inline Run runHost(const QStringList &arguments)
{
    return run(QStringLiteral(HOST), arguments);
}

/// A run of the command on a card, with its log and a system root of its own.
class CardHost : public HostProcess
{
public:
    CardHost(const QStringList &command, const QString &card = QStringLiteral("modemmanager"))
    {
        start(HOST, command + QStringList{"--log", "--root", m_root.path(), "--card", card});
    }

    QString file; ///< the report's, by the last values()

    /// The values of a report in JSON, by their names below "Client".
    QMap<QString, QString> values() { return values(readAllStandardError()); }
    QMap<QString, QString> values(const QByteArray &log)
    {
        return values(readAllStandardOutput(), log);
    }
    QMap<QString, QString> values(const QByteArray &output, const QByteArray &log)
    {
        // These two values are only in the log.
        static const QRegularExpression number("strMSISDN=+(.*)");
        static const QRegularExpression lock("success  card state = (\\d+)");
        QMap<QString, QString> values{{"MSISDN", number.match(QString(log)).captured(1)},
                                      {"SimLock", lock.match(QString(log)).captured(1)}};
        const auto json = QJsonDocument::fromJson(output);
        const QJsonObject report = json["values"].toObject();
        for (const QString &key : report.keys())
            values[key.section('/', 1)] = report[key].toString();
        file = json["file"].toString();
        return values;
    }

private:
    QTemporaryDir m_root;
};

/// Returns the number of JSON texts if the schema below `source` describes each of them.
inline int validJsonTexts(const QByteArray &texts, const QString &source)
{
    Child validator;
    validator.start(QStringLiteral("python3"),
                    {source + QStringLiteral("tests/validate_json.py"),
                     source + QStringLiteral("docs/kestrun.schema.json")});
    validator.write(texts);
    validator.closeWriteChannel();
    validator.waitForFinished();
    if (validator.exitCode() != 0)
        qWarning().noquote() << validator.readAllStandardError();
    return validator.readAllStandardOutput().toInt();
}
