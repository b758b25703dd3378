// SPDX-License-Identifier: MIT
#include "Commands.h"
#include "ElfFile.h"
#include "LoadCheck.h"
#include "Output.h"
#include "ReportCheck.h"
#include "VisibleText.h"
#include "plugin/PluginEntry.h"
#include "shared/DeviceServiceFunctions.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QJsonObject>
#include <QLibraryInfo>

namespace {

// The results of the checks, and whether all of them are good.
class Findings
{
public:
    void add(const QString &what, bool good, const QString &detail)
    {
        m_good = m_good && good;
        m_marks << (good ? colored(QStringLiteral("ok   "), Color::Green)
                         : colored(QStringLiteral("BAD  "), Color::Red));
        m_rows.append({what, detail});
    }

    void addUnknown(const QString &what, const QString &detail)
    {
        m_marks << colored(QStringLiteral("?    "), Color::Yellow);
        m_rows.append({what, detail});
    }

    bool good() const { return m_good; }

    // One line for each finding, with its mark in front.
    QString text() const
    {
        QStringList lines = table(m_rows).split(QLatin1Char('\n'), Qt::SkipEmptyParts);
        for (qsizetype index = 0; index < lines.size(); ++index)
            lines[index].prepend(m_marks.at(index));
        return lines.join(QLatin1Char('\n')) + QLatin1Char('\n');
    }

private:
    QStringList m_marks;
    QList<std::pair<QString, QString>> m_rows;
    bool m_good = true;
};

void inspectExports(Findings &findings, const LibraryFacts &facts)
{
    for (const char *symbol : {"qt_plugin_instance", "qt_plugin_query_metadata_v2",
                               "qt_plugin_query_verification_data"}) {
        const bool there = facts.exports.contains(QLatin1String(symbol));
        findings.add(QStringLiteral("export"), there,
                     QLatin1String(symbol) + (there ? QString() : QStringLiteral(" is missing")));
    }
    for (const auto &[symbol, loss] : {std::pair("KestrunGetHostTable", "report, watch, sms"),
                                       std::pair("KestrunSetSystemRoot", "--root")}) {
        if (facts.exports.contains(QLatin1String(symbol))) {
            findings.add(QStringLiteral("export"), true, QLatin1String(symbol));
        } else {
            findings.addUnknown(QStringLiteral("export"),
                                QStringLiteral("%1 is missing; kestrun needs it for %2")
                                    .arg(QLatin1String(symbol), QLatin1String(loss)));
        }
    }
    const qsizetype controller = facts.exports.filter(QStringLiteral("CCollectionDataLogic"))
                                     .size();
    findings.add(QStringLiteral("export"), controller > 0,
                 QStringLiteral("CCollectionDataLogic, %1 symbols").arg(controller));
}

void inspectMetadata(Findings &findings, const QJsonObject &metadata)
{
    const QString identifier = metadata.value(QStringLiteral("IID")).toString();
    findings.add(QStringLiteral("metadata"),
                 identifier == QLatin1String(qobject_interface_iid<IBasePlugin *>()),
                 identifier.isEmpty() ? QStringLiteral("none") : identifier);
    const QJsonObject own = metadata.value(QStringLiteral("MetaData")).toObject();
    if (!own.isEmpty()) {
        findings.add(QStringLiteral("class"), true,
                     own.value(QStringLiteral("Name")).toString() + QStringLiteral(", ")
                         + own.value(QStringLiteral("CLSID")).toString());
    }
}

void inspectTexts(Findings &findings, const QByteArray &content)
{
    // The file contains the text that the function returns, with its closing NUL.
    const QByteArray pattern = "pattern=QT_PLUGIN_VERIFICATION_DATA";
    const qsizetype begin = content.indexOf(pattern);
    const QByteArray text = begin < 0 ? QByteArray() : QByteArray(content.constData() + begin);
    findings.add(QStringLiteral("verification text"), text == kPluginVerificationText,
                 begin < 0 ? QStringLiteral("none")
                           : QString::fromLatin1(text).replace(u'\n', QStringLiteral(", ")));
    for (const char *identifier :
         {qobject_interface_iid<IBasePlugin *>(), qobject_interface_iid<IUIPlugin *>(),
          qobject_interface_iid<INotify *>()}) {
        const bool there = content.contains(QByteArray(identifier) + '\0');
        findings.add(QStringLiteral("identifier"), there,
                     QLatin1String(identifier)
                         + (there ? QString() : QStringLiteral(" is missing")));
    }
}

QStringList configuredDirectories()
{
    QStringList directories;
    const QDir configuration(QStringLiteral("/etc/ld.so.conf.d"));
    for (const QString &name : configuration.entryList({QStringLiteral("*.conf")})) {
        QFile file(configuration.filePath(name));
        if (!file.open(QIODevice::ReadOnly))
            continue;
        for (const QString &line : QString::fromUtf8(file.readAll()).split(QLatin1Char('\n'))) {
            if (line.startsWith(QLatin1Char('/')))
                directories << line.trimmed();
        }
    }
    return directories;
}

// Returns the file that the dynamic linker takes for a library, or an empty text.
QString findNeeded(const QString &name, const LibraryFacts &facts)
{
    QStringList directories = qEnvironmentVariable("LD_LIBRARY_PATH")
                                  .split(QLatin1Char(':'), Qt::SkipEmptyParts);
    directories << facts.searched << configuredDirectories()
                << QLibraryInfo::path(QLibraryInfo::LibrariesPath);
    for (const char *directory : {"/lib64", "/usr/lib64", "/usr/local/lib", "/lib", "/usr/lib"})
        directories << QLatin1String(directory);
    for (const QString &directory : directories) {
        QString file = QDir(directory).filePath(name);
        if (QFileInfo(file).isFile())
            return file;
    }
    return {};
}

void inspectDependencies(Findings &findings, const LibraryFacts &facts)
{
    QStringList missing;
    for (const QString &name : facts.needed) {
        if (findNeeded(name, facts).isEmpty())
            missing << name;
    }
    findings.add(QStringLiteral("dependencies"), missing.isEmpty(),
                 missing.isEmpty()
                     ? QStringLiteral("all %1 found").arg(facts.needed.size())
                     : QStringLiteral("not found: ") + missing.join(QStringLiteral(", ")));
}

void inspectMachine(Findings &findings, const LibraryFacts &facts)
{
    const auto own = readElf(QCoreApplication::applicationFilePath());
    findings.add(QStringLiteral("architecture"), own && own->machine == facts.machine,
                 own && own->machine == facts.machine
                     ? facts.machine
                     : QStringLiteral("%1, but this program is for %2")
                           .arg(facts.machine, own ? own->machine : QStringLiteral("another one")));
}

void inspectNeedOfDeviceService(Findings &findings, const LibraryFacts &facts)
{
    const QString name = DeviceServiceLibrary::fileName();
    const bool needed = facts.needed.contains(name);
    findings.add(QStringLiteral("needs"), needed,
                 needed ? name : name + QStringLiteral(" is missing"));
    const QString file = findNeeded(name, facts);
    findings.add(
        QStringLiteral("device service"), !file.isEmpty(),
        !file.isEmpty()
            ? file
            : QStringLiteral("not found; put %1 beside the plug-in, or load it first").arg(name));
}

void inspectFunctions(Findings &findings, const LibraryFacts &facts)
{
    QStringList known;
    QStringList missing;
    for (const auto &function : shared::kDeviceServiceFunctions) {
        known << QLatin1String(function.name);
        if (facts.exports.contains(known.constLast()))
            continue;
        missing << known.constLast();
        findings.add(QStringLiteral("function"), false,
                     QStringLiteral("%1 is missing; it is for %2")
                         .arg(known.constLast(), QLatin1String(function.loss)));
    }
    findings.add(QStringLiteral("functions"), missing.isEmpty(),
                 QStringLiteral("%1 of %2").arg(known.size() - missing.size()).arg(known.size()));
    QStringList extra;
    for (const QString &name : facts.exports) {
        if (name.startsWith(QLatin1String("ZEPA_")) && !known.contains(name))
            extra << name;
    }
    if (!extra.isEmpty()) {
        findings.addUnknown(QStringLiteral("functions"),
                            QStringLiteral("the plug-in does not call ")
                                + extra.join(QStringLiteral(", ")));
    }
}

void inspectLoading(Findings &findings, const QString &sdk, const QString &plugin)
{
    const LoadResult result = checkLoading(sdk, plugin);
    const QString why = result.fatal + result.refusal;
    findings.add(QStringLiteral("loading"), why.isEmpty(),
                 why.isEmpty() ? QStringLiteral("succeeds in a child process") : why);
}

void requireReadable(const QString &fileName)
{
    QFile file(fileName);
    if (QFileInfo(fileName).isDir())
        failRun(QStringLiteral("%1 is a directory; name a file").arg(fileName));
    if (!file.open(QIODevice::ReadOnly)) {
        failRun(QStringLiteral("%1 cannot be read: %2; name a file that can be read")
                    .arg(fileName, file.errorString()));
    }
}

ExitStatus show(const Findings &findings, const QString &fileName, const QString &user)
{
    print(findings.text());
    print(
        QStringLiteral("\n%1: %2 would %3.\n")
            .arg(fileName, user,
                 findings.good() ? QStringLiteral("accept it") : QStringLiteral("not accept it")));
    return findings.good() ? ExitStatus::Done : ExitStatus::NotDone;
}

const QString kNoElf = QStringLiteral("it is not an ELF file, or this build has no libelf");

ExitStatus inspectSdk(const QString &fileName)
{
    requireReadable(fileName);
    Findings findings;
    if (const auto facts = readElf(fileName)) {
        inspectMachine(findings, *facts);
        findings.add(QStringLiteral("soname"), facts->soname == DeviceServiceLibrary::fileName(),
                     facts->soname.isEmpty() ? QStringLiteral("none") : facts->soname);
        inspectFunctions(findings, *facts);
        inspectDependencies(findings, *facts);
        inspectLoading(findings, QFileInfo(fileName).absoluteFilePath(), {});
    } else {
        findings.add(QStringLiteral("exports"), false, kNoElf);
    }
    return show(findings, fileName, QStringLiteral("the plug-in"));
}

ExitStatus inspectPlugin(const QString &fileName)
{
    requireReadable(fileName);
    QFile file(fileName);
    file.open(QIODevice::ReadOnly);
    Findings findings;
    const QString absolute = QFileInfo(fileName).absoluteFilePath();
    inspectMetadata(findings, QPluginLoader(absolute).metaData());
    inspectTexts(findings, file.readAll());
    if (const auto facts = readElf(fileName)) {
        inspectMachine(findings, *facts);
        inspectExports(findings, *facts);
        inspectNeedOfDeviceService(findings, *facts);
        inspectLoading(findings, DeviceServiceLibrary::find({}, absolute), absolute);
    } else {
        findings.addUnknown(QStringLiteral("exports"), kNoElf);
    }
    return show(findings, fileName, QStringLiteral("a dashboard"));
}

ExitStatus inspectReport(const QString &fileName)
{
    requireReadable(fileName);
    QFile file(fileName);
    file.open(QIODevice::ReadOnly);
    const QString fault = reportFault(file.readAll());
    if (fault.isEmpty()) {
        print(QStringLiteral("%1 is a complete report.\n").arg(visible(fileName)));
        return ExitStatus::Done;
    }
    failRun(QStringLiteral("%1, %2").arg(fileName, fault));
}

} // namespace

ExitStatus runInspect(const CommandLine &line)
{
    const QStringList files = line.positional();
    if (files.size() + line.has("sdk") + line.has("report") > 1)
        failUsage(
            QStringLiteral("--sdk, --report and a plug-in file exclude each other; choose one"));
    if (line.has("sdk"))
        return inspectSdk(line.value("sdk"));
    if (line.has("report"))
        return inspectReport(line.value("report"));
    return inspectPlugin(files.isEmpty() ? PluginLibrary::defaultFile() : files.constFirst());
}
