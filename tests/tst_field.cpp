// SPDX-License-Identifier: MIT

// Runs the commands for the field: explain, record and redact.

#include "HostProcess.h"
#include "Redactor.h"
#include "TestData.h"

#include <QDir>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QRandomGenerator>
#include <QRegularExpression>
#include <QTemporaryDir>

namespace {

QString randomText(const char *characters, int length)
{
    const QString from = characters;
    QString text;
    while (text.size() < length)
        text += from[QRandomGenerator::global()->bounded(int(from.size()))];
    return text;
}

// A made-up identity that must not be seen.
struct Canary
{
    QString value;
    int kept = 0; // how many of its first characters may be seen, unless nothing may
};

// The digits of each two semi-octets change places, as in messages.
QByteArray semiOctets(QByteArray digits)
{
    if (digits.size() % 2 != 0)
        digits += 'F';
    for (int at = 0; at < digits.size(); at += 2)
        std::swap(digits[at], digits[at + 1]);
    return digits;
}

// A text in all forms in which it would still be readable.
QByteArrayList formsOf(const QByteArray &text)
{
    QByteArray ucs2;
    for (const char byte : text)
        ucs2 += QByteArray(1, '\0') + byte;
    QByteArray reversed = text;
    std::reverse(reversed.begin(), reversed.end());
    QByteArrayList forms{text, reversed,     text.toHex(),           text.toHex().toUpper(),
                         ucs2, ucs2.toHex(), ucs2.toHex().toUpper(), semiOctets(text)};
    // In a longer text, the coding depends on where the text begins.
    for (const int before : {0, 1, 2}) {
        const QByteArray coded = (QByteArray(before, 'x') + text).toBase64();
        forms << coded.mid(before == 0 ? 0 : 4, (before + text.size()) / 3 * 4 - (before ? 4 : 0));
    }
    forms.removeIf([](const QByteArray &form) { return form.size() < 4; });
    return forms;
}

// What of a canary must not be seen: itself, and each 5 digits in a row.
QByteArrayList tracesOf(const Canary &canary, bool all)
{
    const int kept = all ? 0 : canary.kept;
    QByteArrayList traces = formsOf(canary.value.toLatin1().mid(kept));
    static const QRegularExpression digits("(?=(\\d{5}))");
    for (const auto &match : digits.globalMatch(canary.value)) {
        if (match.capturedStart(1) + 5 > kept) {
            QByteArrayList forms = formsOf(match.captured(1).toLatin1());
            // Two bytes of a coding are no trace of five digits.
            forms.removeIf([](const QByteArray &form) { return form.size() < 5; });
            traces += forms;
        }
    }
    return traces;
}

QString withCheckDigit(const QString &digits)
{
    int sum = 0;
    for (int index = 0; index < digits.size(); ++index) {
        const int digit = digits[index].digitValue() * (index % 2 + 1);
        sum += digit / 10 + digit % 10;
    }
    return digits + QString::number((10 - sum % 10) % 10);
}

} // namespace

class tst_Field : public QObject
{
    Q_OBJECT

private:
    QTemporaryDir m_directory;
    QHash<QString, Run> m_explained;   // by card and root
    QHash<QString, Canary> m_canaries; // by the words that stand for them in the tables

    QString path(const QString &name) const { return m_directory.filePath(name); }

    QString canary(const char *word) const { return m_canaries[word].value; }
    QString home() const { return path("home/" + canary("USER")); }

    void makeCanaries()
    {
        const char *const digits = "0123456789";
        const char *const hex = "0123456789ABCDEF";
        const QString imsi = "26201" + randomText(digits, 10);
        m_canaries = {{"IMEI", {withCheckDigit(randomText(digits, 14)), 8}},
                      {"IMEI2", {withCheckDigit(randomText(digits, 14)), 8}},
                      {"IMSI", {imsi, 5}},
                      {"PLMN", {imsi.left(5), 5}},
                      {"SN", {"KE" + randomText(digits, 10)}},
                      {"SN2", {"KE" + randomText(digits, 10)}},
                      {"ESN", {"8" + randomText(hex, 7)}},
                      {"MEID", {"A1" + randomText(digits, 12)}},
                      {"OWN", {"+49" + randomText(digits, 10)}},
                      {"NUMBER", {"+34" + randomText(digits, 9)}},
                      {"LAC", {randomText(hex, 10)}},
                      {"CELL", {randomText(hex, 12)}},
                      {"CELL2", {randomText(hex, 12)}},
                      {"TEXT", {randomText("bcdfghjk", 8) + randomText(digits, 8)}},
                      {"USER", {randomText("bcdfghjk", 12)}}};
    }

    // Replaces the words of a text by the canaries.
    QString filled(QString text) const
    {
        text.replace("HOME", home());
        for (const auto &[word, known] : m_canaries.asKeyValueRange())
            text.replace(QRegularExpression("\\b" + word + "\\b(?!=)"), known.value);
        return text;
    }

    // Runs a command of the table and returns all that it wrote.
    QByteArrayList written(const QString &command, const QString &input, const QStringList &more)
    {
        const QHash<QString, QString> files{{"CARD", home() + "/card.ini"},
                                            {"OTHER", home() + "/other.ini"},
                                            {"FAILING", home() + "/failing.ini"},
                                            {"BAD", home() + "/bad.ini"},
                                            {"FILE", path("written")},
                                            {"ROOT", path("trial")}};
        QStringList arguments;
        for (const QString &word : command.split(' ', Qt::SkipEmptyParts))
            arguments << files.value(word, filled(word));
        QString lines = filled(input);
        lines.replace("CARD", files["CARD"]).replace("OTHER", files["OTHER"]);
        QFile::remove(path("written"));
        // watch needs a signal to end, when it has taken all commands.
        HostProcess host(arguments + more);
        host.write(lines.toUtf8() + "the end\n");
        QByteArray output;
        const bool ended = QTest::qWaitFor(
            [&] {
                output += host.readAllStandardOutput();
                return host.state() == QProcess::NotRunning || output.contains("the end");
            },
            15'000);
        if (ended && host.state() == QProcess::Running) {
            constexpr int kLastRewriteMs = 300;
            QTest::qWait(kLastRewriteMs);
            ::kill(pid_t(host.processId()), SIGINT);
        }
        host.waitForFinished();
        return {output + host.readAllStandardOutput(), host.readAllStandardError(),
                readFile(path("written"))};
    }

    // Returns the traces of canaries in the texts.
    QSet<QByteArray> tracesIn(const QByteArrayList &texts, bool all)
    {
        QSet<QByteArray> found;
        for (const Canary &known : std::as_const(m_canaries)) {
            for (const QByteArray &trace : tracesOf(known, all)) {
                for (const QByteArray &text : texts) {
                    if (text.contains(trace))
                        found.insert(trace);
                }
            }
        }
        return found;
    }

    // The arguments that choose a card of a table.
    QStringList cardArguments(const QString &card) const
    {
        if (card == "MAKER")
            return {"--sdk", MAKERS_SDK};
        if (card.endsWith(".ini"))
            return {"--card", QFINDTESTDATA("data/" + card)};
        if (!card.contains('['))
            return {"--card", card};
        const QString file = path(QString::number(qHash(card)) + ".ini");
        writeFile(file, card.toUtf8());
        return {"--card", file};
    }

    QJsonObject values(const QStringList &card) const
    {
        const Run report = runHost(QStringList{"report", "--json", "--root", path("trial")} + card);
        return QJsonDocument::fromJson(report.output)["values"].toObject();
    }

private Q_SLOTS:
    void initTestCase()
    {
        makeCanaries();
        const QByteArray card = "[Identity]\nIMEI=IMEI\nIMSI=IMSI\nSN=SN\nESN=ESN\nMEID=MEID\n"
                                "[Phonebook]\nIndex=1\nCount=1\nNumber=OWN\n"
                                "[CS]\nLAC=LAC\nCellID=CELL\nState=1\n"
                                "[PS]\nLAC=LAC\nCellID=CELL\nState=1\n[Network]\nPLMN=PLMN\n";
        writeFile(home() + "/card.ini", filled(card).toUtf8() + "SubMode=101\n");
        writeFile(home() + "/other.ini",
                  filled("[Identity]\nIMEI=IMEI2\nSN=SN2\n[CS]\nLAC=LAC\nCellID=CELL2\n").toUtf8());
        writeFile(home() + "/bad.ini", filled("[Identity]\nIMEI=IMEI IMSI\n").toUtf8());
        const QByteArray answers = "[AT]\n^RSTRIGGER?=\"\\r\\nIMEI\\r\\n+CMT: \\\"NUMBER\\\","
                                   "1\\r\\nTEXT\\r\\n^RSTRIGGER: 1\\r\\nOK\\r\\n\"\n"
                                   "+CIMI=\"IMSI\\r\\nOK\\r\\n\"\n"
                                   "+CNUM=\"+CNUM: ,\\\"OWN\\\",145\\r\\nOK\\r\\n\"\n"
                                   "+CMGL%3D4=\"+CMGL: 1,1,,24\\r\\nHEX\\r\\nOK\\r\\n\"\n"
                                   "[Results]\nZEPA_DevSrv_GetSN=13\nZEPA_NetSrv_GetCurPlmn=13\n";
        const QByteArray pdu = semiOctets(canary("NUMBER").mid(1).toLatin1())
            + canary("TEXT").toLatin1().toHex().toUpper();
        writeFile(home() + "/failing.ini",
                  filled(QByteArray(answers).replace("HEX", pdu)).toUtf8()
                      + filled(QByteArray(card)).toUtf8() + "SubMode=42\n");
        for (const QString root : {"trial", "novolume"})
            QCOMPARE(runHost({"report", "--root", path(root)}).status, 0);
        QVERIFY(QFile::remove(path("novolume/Library/StartupItems/VLPortDetect/config")));
        writeFile(path("novolume/SysConfig.dat"), "[EHIDS_PRODUCT_VERSION]\nVALUE=\n");
    }

    void explainsElements_data() { addRows("explain.txt"); }

    void explainsElements()
    {
        const QString root = path(cell("root").toLower());
        Run &report = m_explained[cell("card") + root];
        if (report.status < 0) {
            report = runHost(QStringList{"report", "--explain", "--json", "--root", root}
                             + cardArguments(cell("card")));
        }
        QVERIFY2(report.status == 0, report.error.constData());
        const QJsonObject all = QJsonDocument::fromJson(report.output).object();
        for (const auto &row : all["explanation"].toArray()) {
            const QJsonObject element = row.toObject();
            if (element["field"].toString() != cell("element"))
                continue;
            const auto text = [&](const char *name) {
                return element[name].toString().replace(m_directory.path(), "TEMP");
            };
            QCOMPARE(text("value"), all["values"][cell("element")].toString());
            QCOMPARE(text("origin"), cell("origin"));
            QCOMPARE(text("state"), cell("state"));
            QCOMPARE(text("reason"), cell("reason"));
            QVERIFY2(text("advice").contains(cell("advice")), qPrintable(text("advice")));
            QCOMPARE(text("advice").isEmpty(), cell("state") == "ok");
            return;
        }
        QFAIL("the element is missing");
    }

    // The plug-in makes the same calls and writes the same log.
    void leavesThePluginAlone()
    {
        static const QRegularExpression time("\\d\\d:\\d\\d:\\d\\d:\\d\\d\\d");
        const QStringList arguments{"report", "--log", "--root", path("trial"), "--card", "hspa"};
        const QString plain = runHost(arguments).error;
        const QString explained = runHost(arguments + QStringList{"--explain"}).error;
        QVERIFY(plain.count('\n') > 80);
        QCOMPARE(QString(explained).replace(time, "T"), QString(plain).replace(time, "T"));
    }

    void replaysRecord_data() { addRows("replayed-cards.txt"); }

    void replaysRecord()
    {
        const QString file = path("record.ini");
        const QStringList original = cardArguments(cell("card"));
        const Run record = runHost(QStringList{"record", file} + original);
        QVERIFY2(record.status == 0, record.error.constData());
        const QJsonObject seen = values(original);
        QVERIFY(seen.size() > 20);
        QCOMPARE(values({"--card", file}), seen);
    }

    // A record of the emulated card that reads a record is the same file, byte by byte.
    void recordsWhatTheEmulatedCardAnswers()
    {
        const QString odd = QFINDTESTDATA("data/odd-record.ini");
        const QString file = path("odd.ini");
        const Run record = runHost(
            {"record", file, "--card", odd, "--delays", "--at", "+CSQ", "--at", "AT+CNUM"});
        QVERIFY2(record.status == 0, record.error.constData());
        QString content = readFile(file);
        // The measured time is a little longer.
        static const QRegularExpression delay("ZEPA_DevSrv_GetSN=\"1[2-9]\\d\"");
        content.replace(delay, "ZEPA_DevSrv_GetSN=\"120\"");
        QCOMPARE(content, QString(readFile(odd)));
    }

    void refusesFaultyRecord_data() { addRows("record-faults.txt"); }

    void refusesFaultyRecord()
    {
        const QString file = path("faulty.ini");
        QCOMPARE(runHost({"record", file, "--card", "lte"}).status, 0);
        QByteArray content = readFile(file);
        QVERIFY(content.contains(cell("text").toUtf8()));
        writeFile(file, content.replace(cell("text").toUtf8(), cell("replacement").toUtf8()));
        const Run report = runHost({"report", "--root", path("trial"), "--card", file});
        QCOMPARE(report.status, 1);
        QVERIFY2(report.error.contains(cell("complaint").toUtf8()), report.error.constData());
        QCOMPARE(report.error.count('\n'), 1);
    }

    // The old file is left whole if the new one cannot be written.
    void keepsOldRecord()
    {
        const QTemporaryDir directory;
        writeFile(directory.filePath("old.ini"), "old");
        const Run record = run(
            "sh", {"-c", "ulimit -f 0; exec \"$0\" record \"$1/old.ini\"", HOST, directory.path()});
        QCOMPARE(record.status, 1);
        QVERIFY2(record.error.contains(" cannot be written: "), record.error.constData());
        QCOMPARE(readFile(directory.filePath("old.ini")), QByteArray("old"));
        QCOMPARE(QDir(directory.path()).entryList(QDir::Files), QStringList("old.ini"));
    }

    void makesUpValuesOfTheSameForm_data() { addRows("redact-forms.txt"); }

    void makesUpValuesOfTheSameForm()
    {
        const QString name = cell("name");
        const QString value = cell("value");
        for (const char *extent : {"usual", "all"}) {
            Redactor redactor(extent == QString("all") ? Redactor::Extent::All
                                                       : Redactor::Extent::Usual);
            redactor.learn(name, value);
            const QString made = redactor.redacted(name, value);
            const QRegularExpression form("^(" + cell(extent) + ")$");
            QVERIFY2(form.match(made).hasMatch(), qPrintable(made));
            QCOMPARE(made == value, QRegularExpression::escape(value) == cell(extent));
            if (name == "Identity/IMEI" && value.size() == 15)
                QCOMPARE(made, withCheckDigit(made.chopped(1)));
            // The same value is replaced alike in a text, and what is made up stays.
            const QString text = "a " + value + ", b";
            QCOMPARE(redactor.redacted(text), "a " + made + ", b");
            QCOMPARE(redactor.redacted(redactor.redacted(text)), redactor.redacted(text));
        }
    }

    void showsNoCanary_data() { addRows("redact-commands.txt"); }

    void showsNoCanary()
    {
        const QByteArrayList plain = written(cell("command"), cell("input"), {});
        QVERIFY2(!tracesIn(plain, true).isEmpty(), plain.join().constData());
        for (const bool all : {false, true}) {
            // By chance, five digits of a made-up value are those of a canary. The next run makes
            // up others, and what leaks is there again.
            QSet<QByteArray> leaked;
            for (int attempt = 0; attempt < 3 && (attempt == 0 || !leaked.isEmpty()); ++attempt) {
                const QByteArrayList seen = written(cell("command"), cell("input"),
                                                    {all ? "--redact=all" : "--redact"});
                QVERIFY(!seen.join().isEmpty());
                const QSet<QByteArray> found = tracesIn(seen, all);
                leaked = attempt == 0 ? found : leaked.intersect(found);
                if (!leaked.isEmpty() && attempt == 2)
                    qWarning().noquote() << leaked.values().join(' ') << "in" << seen.join();
            }
            QVERIFY(leaked.isEmpty());
        }
    }
};

QTEST_GUILESS_MAIN(tst_Field)
#include "tst_field.moc"
