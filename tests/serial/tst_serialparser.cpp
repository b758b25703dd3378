// SPDX-License-Identifier: MIT

// The pure parts of the "serial" backend: what lines say, how messages are coded, modem files.

#include "TestData.h"

#include "serial/AtParser.h"
#include "serial/LineReader.h"
#include "serial/ModemFile.h"
#include "serial/PortFinder.h"
#include "serial/TpduCoder.h"

#include <QDir>
#include <QFile>
#include <QHash>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QTemporaryDir>
#include <QTest>

using namespace devsrv;

namespace {

std::string orNothing(const std::optional<std::string> &text)
{
    return text.value_or("nothing");
}

std::string number(const std::optional<int> &value)
{
    return value ? ' ' + std::to_string(*value) : std::string();
}

std::string registration(const std::string &line, bool asked)
{
    const auto read = registrationLine(line, asked);
    if (!read)
        return "nothing";
    return std::to_string(read->state) + ' '
        + (read->lac.empty() ? "-" : read->lac + '/' + read->ci) + number(read->act);
}

std::string operatorText(const std::string &line)
{
    const auto read = operatorOf({line});
    if (!read)
        return "nothing";
    const std::string text = number(read->format) + ' ' + (read->plmn.empty() ? "-" : read->plmn)
        + number(read->act);
    return text.substr(1);
}

std::string firstOf(const std::vector<std::string> &list)
{
    return list.empty() ? std::string() : list.front();
}

std::string simText(const std::string &line)
{
    const auto state = simState(line);
    if (!state)
        return "nothing";
    return state->isAbsent ? "absent" : std::to_string(state->lock);
}

std::string cdmaText(const std::string &line)
{
    const CdmaIdentity identity = cdmaIdentityOf({line});
    return identity.esn + '/' + identity.meid;
}

std::string family(const std::string &line)
{
    const auto type = productTypeOf({line}, {line});
    return type ? std::to_string(*type) : "nothing";
}

const QHash<QString, std::string (*)(const std::string &)> kReaders{
    {"answer", [](const std::string &line) { return registration(line, true); }},
    {"unasked", [](const std::string &line) { return registration(line, false); }},
    {"cops", operatorText},
    {"cnum", [](const std::string &line) { return firstOf(ownNumbers({line}, false)); }},
    {"ucs2", [](const std::string &line) { return firstOf(ownNumbers({line}, true)); }},
    {"cpin", simText},
    {"imei", [](const std::string &line) { return orNothing(digits({line}, 14, 16)); }},
    {"text", [](const std::string &line) { return orNothing(textValue({line})); }},
    {"cdma", cdmaText},
    {"cms", [](const std::string &line) { return cmsError(line); }},
    {"family", family},
};

QStringList linesOf(const QByteArray &bytes, qsizetype step)
{
    LineReader reader;
    QStringList lines;
    for (qsizetype at = 0; at < bytes.size(); at += step) {
        reader.feed(bytes.mid(at, step).toStdString());
        while (const auto line = reader.next())
            lines << QString::fromStdString(*line);
    }
    return lines;
}

} // namespace

class tst_SerialParser : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void readsLine_data() { addRows("serial-lines.txt"); }

    void readsLine()
    {
        const auto reader = kReaders.value(cell("kind"));
        QVERIFY(reader);
        QCOMPARE(QString::fromStdString(reader(cell("line").toLatin1().toStdString())),
                 cell("value"));
    }

    // The same lines come out however the bytes come in, and a line without end needs no memory.
    void cutsLines()
    {
        const QByteArray bytes = QByteArray("half\r\n\r\n\0+CREG: 1\0\r\n \r\nOK\r\r\n", 28)
            + QByteArray(10'000'000, 'x') + "\r\n last \t\n";
        const QStringList expected{"half", "+CREG: 1", "OK", "last"};
        QCOMPARE(linesOf(bytes, 1), expected);
        QCOMPARE(linesOf(bytes, 7), expected);
        QCOMPARE(linesOf(bytes, bytes.size()), expected);
    }

    // An independent decoder reads the texts back.
    void codesMessages()
    {
        std::string wrong;
        QVERIFY(tpdusOf({u"600111222", u"half a pair \xd83d"}, 0, wrong).empty());
        QVERIFY(!wrong.empty());

        QProcess decoder;
        decoder.start(PYTHON, {TPDU_DECODER});
        if (!decoder.waitForStarted())
            QSKIP("it takes Debian's python3-gammu");
        QList<TableRow> rows = readTable("messages.txt");
        for (const TableRow &row : rows) {
            SmsMessage message;
            message.number = row["number"].toStdU16String();
            message.text = row["text"].repeated(row["times"].toInt()).toStdU16String();
            message.receipt = row["receipt"] == "yes";
            std::string error;
            for (const Tpdu &tpdu : tpdusOf(message, 0xa5, error)) {
                QCOMPARE(std::size_t(tpdu.octets) * 2 + 2, tpdu.hex.size());
                decoder.write(QByteArray::fromStdString(tpdu.hex) + ' ');
            }
            decoder.write("\n");
        }
        decoder.closeWriteChannel();
        QVERIFY(decoder.waitForFinished());
        if (decoder.exitCode() == 3)
            QSKIP("it takes Debian's python3-gammu");
        for (const TableRow &row : rows) {
            const auto decoded = QJsonDocument::fromJson(decoder.readLine()).object();
            const QByteArray what = row["case"].toUtf8() + ": " + QJsonDocument(decoded).toJson();
            QVERIFY2(decoded["parts"].toArray().size() == row["parts"].toInt(), what);
            if (row["parts"] == "0")
                continue;
            QCOMPARE(decoded["text"].toString(), row["text"].repeated(row["times"].toInt()));
            QVERIFY2(decoded["number"] == row["number"], what);
            QVERIFY2(decoded["receipt"].toBool() == (row["receipt"] == "yes"), what);
            QVERIFY2(decoded["coding"] == row["coding"], what);
            for (const QJsonValue part : decoded["parts"].toArray())
                QVERIFY2(part.toString().size() <= row["most"].toInt(), what);
        }
    }

    void readsModemFile_data() { addRows("modem-files.txt"); }

    void readsModemFile()
    {
        QTemporaryDir folder;
        const QString name = folder.filePath("modem.ini");
        writeFile(name, cell("file").toUtf8());
        QString error;
        const auto file = ModemFile::read(name, error);
        QCOMPARE(error.remove(folder.path() + '/'), cell("error"));
        QCOMPARE(file.has_value(), error.isEmpty());
        if (!file)
            return;
        QCOMPARE(QString::fromStdString(file->command("Hver")), cell("command"));
        QCOMPARE(QString::fromStdString(
                     orNothing(file->value("Hver", {"noise", cell("answer").toStdString()}))),
                 cell("value"));
    }

    void readsShippedModemFiles()
    {
        const QFileInfoList files = QDir(MODEM_FILES).entryInfoList({"*.ini"});
        QCOMPARE(files.size(), 3);
        for (const QFileInfo &file : files) {
            QString error;
            QVERIFY2(ModemFile::read(file.filePath(), error), qPrintable(error));
        }
    }

    void findsLastingName()
    {
        QTemporaryDir folder;
        const QString port = folder.filePath("ttyUSB2");
        writeFile(port, {});
        QCOMPARE(lastingName(port, folder.filePath("by-id")), port);
        QVERIFY(QDir(folder.path()).mkdir("by-id"));
        const QString link = folder.filePath("by-id/usb-card-if02");
        QVERIFY(QFile::link(port, link));
        QCOMPARE(lastingName(port, folder.filePath("by-id")), link);
        QCOMPARE(lastingName(folder.filePath("ttyUSB3"), folder.filePath("by-id")),
                 folder.filePath("ttyUSB3"));
    }
};

QTEST_GUILESS_MAIN(tst_SerialParser)
#include "tst_serialparser.moc"
