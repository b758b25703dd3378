// SPDX-License-Identifier: MIT
#include "CardRecord.h"
#include "Commands.h"
#include "LoadCheck.h"
#include "Output.h"
#include "PluginLog.h"
#include "PluginOutput.h"
#include "RegularFile.h"

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

void writeRecord(const QString &name, const CardFields &fields)
{
    // It has identities.
    constexpr auto kForOwner = QFileDevice::ReadOwner | QFileDevice::WriteOwner;
    const QString reason = replaceFile(name, recordFile(fields), kForOwner);
    if (!reason.isEmpty()) {
        failRun(QStringLiteral("%1 cannot be written: %2; make room, or choose another file")
                    .arg(name, reason));
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
        const PluginOutput quiet(line.has("log"));
        if (const QString card = line.value("card"); !card.isEmpty())
            library.start(card);
        fields = recordCard(library, options);
        source = library.source();
        library.stop();
    }
    // Learns the identities before the source, which may have one, is shown.
    fields = presentable(fields);
    printNote(QStringLiteral("kestrun: source: ") + source);
    writeRecord(file, fields);
    print(QStringLiteral("%1 has %2 fields; \"kestrun report --card %1\" replays them.\n")
              .arg(file)
              .arg(fields.size()));
    return ExitStatus::Done;
}
