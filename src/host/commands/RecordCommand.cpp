// SPDX-License-Identifier: MIT
#include "CardRecord.h"
#include "Commands.h"
#include "LoadCheck.h"
#include "Output.h"
#include "PluginLog.h"
#include "PluginOutput.h"

#include <QSaveFile>

namespace {

// Returns the commands without "AT". Throws Failure for one that a card file cannot have.
QStringList commandsOf(const CommandLine &line)
{
    QStringList commands;
    for (QString command : line.values("at")) {
        if (command.startsWith(QLatin1String("AT"), Qt::CaseInsensitive))
            command.remove(0, 2);
        const auto isPlain = [](QChar character) { return character >= u' ' && character <= u'~'; };
        if (command.isEmpty() || !std::all_of(command.begin(), command.end(), isPlain)) {
            failUsage(QStringLiteral("\"%1\" is not an AT command of plain characters; write it "
                                     "as AT+CSQ or +CSQ")
                          .arg(command));
        }
        commands << command;
    }
    return commands;
}

// Writes the file whole, or leaves the old one.
void writeFile(const QString &name, const QByteArray &content)
{
    QSaveFile file(name);
    // commit() does not see that flushing fails, and would put an incomplete file in place.
    if (!file.open(QIODevice::WriteOnly) || file.write(content) != content.size() || !file.flush()
        || !file.commit()) {
        failRun(QStringLiteral("%1 cannot be written: %2; make room, or choose another file")
                    .arg(name, file.errorString()));
    }
}

} // namespace

ExitStatus runRecord(const CommandLine &line)
{
    const QString file = line.positional().constFirst();
    const RecordOptions options{commandsOf(line), line.has("delays")};
    setPluginLog(line.has("log"));
    const QString sdk = requireLoadingReturns(
        DeviceServiceLibrary::find(line.value("sdk"), line.pluginFile()), {});
    DeviceServiceLibrary library(sdk);
    CardFields fields;
    QString source;
    {
        const PluginOutput quiet(line.has("log") && !redactor());
        if (const QString card = line.value("card"); !card.isEmpty())
            library.start(card);
        fields = recordCard(library, options);
        source = library.source();
        library.stop();
    }
    printNote(QStringLiteral("kestrun: source: ") + source);
    writeFile(file, recordFile(presentable(fields)));
    print(QStringLiteral("%1 has %2 fields; \"kestrun report --card %1\" replays them.\n")
              .arg(file)
              .arg(fields.size()));
    return ExitStatus::Done;
}
