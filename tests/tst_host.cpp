// SPDX-License-Identifier: MIT
#include "HostProcess.h"
#include "Schema.h"
#include "TestData.h"

#include <QDir>
#include <QElapsedTimer>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QStandardPaths>
#include <QTemporaryDir>

#include <unistd.h>

class tst_Host : public QObject
{
    Q_OBJECT

private:
    QTemporaryDir m_directory;

    const QHash<QString, QString> m_words{{"PLUGIN", PLUGIN_FILE},
                                          {"WRONG", WRONG_PLUGIN},
                                          {"LONE", path("lone.so")},
                                          {"SDK", SDK_FILE},
                                          {"MAKER", MAKERS_SDK},
                                          {"OLD", OLD_PLUGIN},
                                          {"HOST", HOST},
                                          {"ROOT", path("root")},
                                          {"''", QString()},
                                          {"PAIR", path("pair/plugin.so")},
                                          {"REPORT", SOURCE "tests/data/report.xml"},
                                          {"FULL", path("full")},
                                          {"BARE", path("bare")}};

    // The value of a word of the table; "BROKEN/" stands for the libraries that go wrong.
    QString valueOf(const QString &word) const
    {
        return m_words.value(word, QString(word).replace("BROKEN/", BROKEN));
    }

    QString path(const QString &name) const { return m_directory.filePath(name); }
    QString reportFile(const QString &root) const
    {
        return path(root)
            + "/usr/local/vl_bk_userdata/Brisk_Lane/OnlineUpdate/OnlineUpdate Data/UpdateRule.dat";
    }
    Run report(const QStringList &arguments = {}) const
    {
        return runHost(QStringList{"report", "--root", path("root")} + arguments);
    }

    QStringList completions(const QStringList &words) const
    {
        const QString lines = runHost(QStringList{"complete"} + words).output;
        return lines.split('\n', Qt::SkipEmptyParts);
    }

private Q_SLOTS:
    void initTestCase()
    {
        QVERIFY(QFile::copy(PLUGIN_FILE, path("lone.so")));
        QVERIFY(QDir().mkdir(path("pair")));
        QVERIFY(QFile::copy(BROKEN "crashingplugin.so", path("pair/plugin.so")));
        QVERIFY(QFile::copy(SDK_FILE, path("pair/libsdk.so.1")));
        for (const QString root : {"full", "bare"})
            QCOMPARE(runHost({"report", "--root", path(root)}).status, 0);
        const QString report = reportFile("full");
        QVERIFY(QFile::remove(report) && QDir().mkdir(report));
        QVERIFY(QFileInfo(reportFile("bare")).dir().removeRecursively());
    }

    void exitsWithStatusAndMessage_data() { addRows("host-commands.txt"); }

    void exitsWithStatusAndMessage()
    {
        QStringList arguments;
        for (const QString &argument : cell("arguments").split(' ', Qt::SkipEmptyParts))
            arguments << valueOf(argument);
        Run run = runHost(arguments);
        run.error.replace(m_directory.path().toUtf8(), "TEMP");
        run.output.replace(m_directory.path().toUtf8(), "TEMP");
        QVERIFY2(QString::number(run.status) == cell("status"), run.error.constData());
        for (const auto &[seen, column] :
             {std::pair(run.output, "output"), std::pair(run.error, "error")}) {
            QVERIFY2(seen.contains(cell(column).toUtf8()), seen.constData());
            QCOMPARE(seen.isEmpty(), cell(column).isEmpty());
        }
        QVERIFY(run.error.isEmpty() || run.error.startsWith("kestrun: "));
    }

    void printsReportAsTableXmlAndJson()
    {
        const Run table = report({"--log"});
        QCOMPARE(table.status, 0);
        QVERIFY(
            table.output.contains("\nClient/IMEI                            490154203237518\n"));
        QVERIFY(table.output.contains(reportFile("root").toUtf8()));
        QVERIFY(!table.output.contains("hhhh"));
        QVERIFY(table.error.contains("hhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhh\n"));
        QVERIFY(table.error.contains("=========strIMEI===========490154203237518\n"));

        const QByteArray file = readFile(reportFile("root"));
        QVERIFY(isValidReport(file));
        QCOMPARE(report({"--xml"}).output, file);
        const QByteArray json = report({"--json"}).output;
        QCOMPARE(validJsonTexts(json, SOURCE), 1);
        QCOMPARE(validJsonTexts(report({"--json", "--explain"}).output, SOURCE), 1);
        QCOMPARE(QJsonDocument::fromJson(json)["values"].toObject().size(), 24);

        // The log has control characters as escapes.
        const Run odd = report({"--log", "--card", SOURCE "tests/data/odd-record.ini"});
        QVERIFY2(odd.error.contains("strIMSI===========\\011\\001 \\177\n"), odd.error.constData());
    }

    void saysWhetherConfigChanged()
    {
        if (geteuid() != 0)
            QSKIP("only root can open Config.xml again");
        const QTemporaryDir fresh;
        const QStringList arguments{"report", "--root", fresh.path()};
        const Run run = runHost(arguments);
        QVERIFY2(run.output.contains("LatestSimLockState 1 \u2192 0"), run.output.constData());
        QVERIFY(runHost(arguments).output.contains("LatestSimLockState 0, unchanged"));
    }

    // A command that fails leaves the file of an earlier one.
    void writesOutputFile()
    {
        const QString file = path("output");
        QCOMPARE(report({"--xml", "--output", file}).status, 0);
        QCOMPARE(readFile(file), readFile(reportFile("root")));
        QCOMPARE(report({"--output", file, "--card", "no-such-card"}).status, 1);
        QCOMPARE(readFile(file), readFile(reportFile("root")));
        QCOMPARE(report({"--field", "Client/IMEI", "--output", file}).status, 0);
        QCOMPARE(readFile(file), QByteArray("490154203237518\n"));
    }

    // One line for each way in which a library breaks a rule.
    void findsWhatDeviceServicesDoWrong()
    {
        QStringList lines;
        for (const QString library : {"faulty", "cutsanswers", "losesanswers"}) {
            const Run run = runHost({"check", "--json", "--sdk", BROKEN + library + ".so"});
            QCOMPARE(run.status, 1);
            QCOMPARE(validJsonTexts(run.output, SOURCE), 1);
            const QJsonArray checks = QJsonDocument::fromJson(run.output)["checks"].toArray();
            for (const QJsonValue check : checks) {
                if (check[u"result"] == "failed")
                    lines << check[u"name"].toString() + ": " + check[u"detail"].toString();
            }
        }
        lines.removeDuplicates();
        compareWithGolden("faulty-services.txt", lines);
    }

    void endsWatchWhenReaderIsGone()
    {
        HostProcess host;
        Child reader;
        host.setStandardOutputProcess(&reader);
        reader.start("head", {"-n", "1"});
        host.start(HOST, {"watch", "--card", "none", "--root", path("root")});
        QVERIFY(host.ends());
        QCOMPARE(host.exitCode(), 0);
    }

    void showsEachWarningOnce()
    {
        HostProcess host({"watch", "--card", "none", "--root", path("root")});
        QVERIFY(host.says({"DataCard"}));
        const QByteArray warning = "GetCardLockStatus returned error";
        int count = int(host.said.count(warning));
        for (const char *command : {"event 6614\n", "set Status 2\n", "insert lte\n"})
            host.write(command);
        QVERIFY(host.says({"490154203237518"}));
        count += int(host.said.count(warning));
        QCOMPARE(count, 1);
    }

    // A report takes 2 s, and the events cause two: one that runs, and one that waits for it.
    void showsRemovalBeforePendingRewrites()
    {
        writeFile(path("slow.ini"), "[Delays]\nZEPA_DevSrv_GetImeiInfo=2000\n");
        HostProcess host({"watch", "--card", path("slow.ini"), "--root", path("root")});
        QVERIFY(host.says({"DataCard"}));
        for (int event = 0; event < 6; ++event)
            host.write("event 6614\n");
        host.write("remove\n");
        QElapsedTimer timer;
        timer.start();
        QVERIFY(host.says({"DeviceUnavailable"}));
        QVERIFY2(timer.elapsed() < 2000, qPrintable(QString::number(timer.elapsed())));
    }

    void reportsFullStandardOutput()
    {
        for (const QString arguments :
             {"report --help", "help", "help report", "--help", "--version", "cards"}) {
            const Run full = run("sh", {"-c", "\"$0\" " + arguments + " >/dev/full", HOST});
            QVERIFY2(full.status == 1, qPrintable(arguments));
            QVERIFY2(full.error.startsWith("kestrun: standard output could not be written"),
                     full.error.constData());
        }
    }

    void completesWords_data() { addRows("host-completion.txt"); }

    void completesWords()
    {
        const QStringList words = cell("words").replace("''", "").split(' ');
        const Run run = runHost(QStringList{"complete"} + words);
        QTEST(QString(run.output.trimmed()).replace('\n', ' '), "completions");
    }

    void completesInShell_data() { addRows("shell-completion.txt"); }

    void completesInShell()
    {
        const QString shell = cell("shell");
        if (QStandardPaths::findExecutable(shell).isEmpty())
            QSKIP("the shell is not installed");
        QProcess process;
        process.setWorkingDirectory(SOURCE);
        auto environment = QProcessEnvironment::systemEnvironment();
        environment.insert("PATH", QFileInfo(HOST).path() + ':' + environment.value("PATH"));
        environment.insert("HOME", m_directory.path());
        process.setProcessEnvironment(environment);
        process.start(shell, {"-c", cell("script")});
        QVERIFY(process.waitForFinished());
        QCOMPARE(process.readAllStandardOutput(), QByteArray("report\n--xml\n"));
    }

    // The pages name the commands, options and fields that the program lists, and no others.
    void describesAllInManual()
    {
        QSet<QString> listed;
        const QString page = readFile(SOURCE "docs/man/kestrun.1");
        for (const QString &command : completions({""})) {
            QVERIFY2(page.contains(".SS " + QString(command).replace("-", "\\-"))
                         || command == "--help",
                     qPrintable(command));
            for (const QString &option : completions({command, "--"}))
                listed << option;
        }
        QSet<QString> described{"--help"};
        static const QRegularExpression option("^\\.BI? (\\\\-\\\\-[a-z\\\\-]+)( \".*)?$",
                                               QRegularExpression::MultilineOption);
        for (const auto &match : option.globalMatch(page))
            described << match.captured(1).remove('\\');
        QCOMPARE(described, listed);

        const QString card = readFile(SOURCE "docs/man/kestrun-card.5");
        for (const QByteArray &line : runHost({"cards", "--fields"}).output.trimmed().split('\n')) {
            const QString field = line.split(' ').constFirst();
            QVERIFY2(card.contains(field), qPrintable(field));
        }
    }

    void watchesCardUntilSignal()
    {
        HostProcess host({"watch", "--json", "--card", "none", "--root", path("root")});
        // The effects are part of the output, not of the messages about errors.
        host.closeReadChannel(QProcess::StandardError);
        QVERIFY(host.says({"\"new\":\"DataCard\""}));
        QByteArray output = host.said;
        for (const TableRow &step : readTable("host-watch.txt")) {
            host.write(step["command"].toUtf8() + '\n');
            QVERIFY2(host.says({step["effect"].toUtf8()}), qPrintable(step["command"]));
            output += host.said;
        }

        // A closed input neither ends the command nor keeps it busy.
        const auto hundredthsOfWork = [&] {
            const QByteArray stat = readFile(QString("/proc/%1/stat").arg(host.processId()));
            constexpr int kUserTicks = 13;
            return stat.split(' ').at(kUserTicks).toInt();
        };
        host.closeWriteChannel();
        const int before = hundredthsOfWork();
        QVERIFY(!host.waitForFinished(300));
        QVERIFY(hundredthsOfWork() - before < 15);

        QVERIFY(host.stop());
        output += host.said + host.readAllStandardOutput();
        QVERIFY(output.count('\n') > 20);
        QCOMPARE(validJsonTexts(output, SOURCE), output.count('\n'));
    }
};

QTEST_GUILESS_MAIN(tst_Host)
#include "tst_host.moc"
