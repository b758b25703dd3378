// SPDX-License-Identifier: MIT
#include "Recording.h"

#include "Failure.h"
#include "Json.h"
#include "Output.h"
#include "RegularFile.h"

#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <algorithm>

namespace {

constexpr QLatin1String kFormat("kestrun-recording");
constexpr QLatin1String kEnd("end");
constexpr int kVersion = 1;

/// Reads the lines of a recording one after the other.
class Reader
{
public:
    explicit Reader(const QString &name) : m_name(name), m_file(name)
    {
        if (!openRegularFile(m_file)) {
            failRun(
                QStringLiteral("the recording %1 cannot be read: it is missing or not a regular "
                               "file, or there is no right to read it; name another one")
                    .arg(name));
        }
    }

    Recording read()
    {
        Recording recording;
        recording.source = readHeader();
        for (QJsonObject line = readLine(); line[u"type"] != kEnd; line = readLine())
            recording.events.append({readEvent(line), m_line});
        // Two threads deliver events: a line may precede that of an event that arrived earlier.
        std::stable_sort(recording.events.begin(), recording.events.end(),
                         [](const RecordedEvent &left, const RecordedEvent &right) {
                             return left.event.arrivedUs < right.event.arrivedUs;
                         });
        const auto starts = std::count_if(
            recording.events.begin(), recording.events.end(),
            [](const RecordedEvent &recorded) { return recorded.event.event == 0; });
        if (starts != 1 || recording.events.constFirst().event.event != 0) {
            fail(QStringLiteral("the recording does not begin with the one start of the plug-in; "
                                "make another recording"));
        }
        return recording;
    }

private:
    // Returns the source.
    QString readHeader()
    {
        const QJsonObject header = readLine();
        const QJsonValue version = header[u"version"];
        if (header[u"format"] != kFormat || !version.isDouble())
            failAsOther();
        if (version.toInt() != kVersion) {
            fail(QStringLiteral("the recording has version %1, and this program reads version %2; "
                                "use the kestrun that made it, or a newer one")
                     .arg(version.toInt())
                     .arg(kVersion));
        }
        return header[u"source"].toString();
    }

    QJsonObject readLine()
    {
        constexpr qint64 kLongestLine = 1'000'000;
        ++m_line;
        const QByteArray line = m_file.readLine(kLongestLine);
        QJsonObject object = QJsonDocument::fromJson(line).object();
        if (!object.isEmpty() && line.endsWith('\n'))
            return object;
        if (m_line == 1)
            failAsOther();
        if (!line.endsWith('\n')) {
            fail(QStringLiteral("the recording is cut off; to replay what precedes, make this line "
                                "{\"type\":\"end\"}"));
        }
        fail(QStringLiteral("this is not a JSON object; make another recording"));
    }

    HandledEvent readEvent(const QJsonObject &line)
    {
        if (!line[u"event"].isDouble() || !line[u"time"].isDouble())
            fail(QStringLiteral("\"event\" or \"time\" is not a number; make another recording"));
        if (line.contains(u"card"))
            m_card = readValues(line[u"card"]);
        constexpr double kLongestS = 1e9;
        const double time = line[u"time"].toDouble();
        if (time < 0 || time > kLongestS)
            fail(QStringLiteral("\"time\" is not a number of seconds; make another recording"));
        HandledEvent event;
        event.event = line[u"event"].toInt();
        event.arrivedUs = qRound64(time * 1e6);
        event.card = m_card;
        for (const QJsonValue name : line[u"signals"].toArray())
            event.emitted << name.toString();
        if (line.contains(u"report"))
            event.report = readValues(line[u"report"]);
        event.cardChanged = line[u"cardChanged"].toBool();
        event.failure = line[u"failure"].toString();
        return event;
    }

    NamedValues readValues(const QJsonValue &value) const
    {
        NamedValues values;
        const QJsonObject object = value.toObject();
        for (auto entry = object.begin(); entry != object.end(); ++entry) {
            if (!entry.value().isString()) {
                fail(QStringLiteral("the value of \"%1\" is not a text; make another recording")
                         .arg(entry.key()));
            }
            values.append({entry.key(), entry.value().toString()});
        }
        return values;
    }

    [[noreturn]] void failAsOther() const
    {
        fail(QStringLiteral("this is not a recording; \"kestrun watch --record FILE\" makes one"));
    }

    [[noreturn]] void fail(const QString &what) const
    {
        failRun(QStringLiteral("%1, line %2: %3").arg(m_name).arg(m_line).arg(what));
    }

    const QString m_name; // a file that is opened by its descriptor forgets it
    QFile m_file;
    int m_line = 0;
    CardFields m_card; // of the last line that has it
};

} // namespace

// The dashboard changes the working directory.
RecordingWriter::RecordingWriter(const QString &file) : m_file(QFileInfo(file).absoluteFilePath())
{
    // It has identities.
    if (!m_file.open(QIODevice::WriteOnly | QIODevice::NewOnly,
                     QFileDevice::ReadOwner | QFileDevice::WriteOwner)) {
        failRun(QStringLiteral("the recording %1 cannot be created: %2; choose a new file with "
                               "--record FILE")
                    .arg(file, m_file.errorString()));
    }
}

RecordingWriter::~RecordingWriter()
{
    if (m_size == 0)
        m_file.remove();
}

void RecordingWriter::begin(const QString &source)
{
    write({{QStringLiteral("format"), kFormat},
           {QStringLiteral("version"), kVersion},
           {QStringLiteral("source"), redactor() ? redactor()->redacted(source) : source}});
}

void RecordingWriter::add(const HandledEvent &event)
{
    QJsonObject line{{QStringLiteral("type"), QStringLiteral("event")},
                     {QStringLiteral("time"), static_cast<double>(event.arrivedUs) / 1e6},
                     {QStringLiteral("event"), event.event},
                     {QStringLiteral("signals"), QJsonArray::fromStringList(event.emitted)}};
    if (event.card != m_card)
        line.insert(QStringLiteral("card"), toJson(event.card));
    m_card = event.card;
    if (event.report)
        line.insert(QStringLiteral("report"), toJson(*event.report));
    if (event.cardChanged)
        line.insert(QStringLiteral("cardChanged"), true);
    if (!event.failure.isEmpty())
        line.insert(QStringLiteral("failure"), event.failure);
    write(line);
}

void RecordingWriter::end()
{
    write({{QStringLiteral("type"), kEnd}});
}

void RecordingWriter::write(const QJsonObject &line)
{
    if (!m_complete)
        return;
    const QByteArray text = QJsonDocument(line).toJson(QJsonDocument::Compact) + '\n';
    m_complete = writeAll(m_file, text);
    if (m_complete) {
        m_size += text.size();
        return;
    }
    printError(QStringLiteral("kestrun: the recording %1 ends here: %2; make room and make another "
                              "recording")
                   .arg(m_file.fileName(), qt_error_string()));
    m_file.resize(m_size);
}

Recording readRecording(const QString &file)
{
    return Reader(file).read();
}
