// SPDX-License-Identifier: MIT
#include "CommandLine.h"
#include "Commands.h"
#include "ElfFile.h"
#include "Output.h"
#include "plugin/PluginEntry.h"

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
        m_rows.append({(good ? QStringLiteral("ok   ") : QStringLiteral("BAD  ")) + what, detail});
    }

    void addUnknown(const QString &what, const QString &detail)
    {
        m_rows.append({QStringLiteral("?    ") + what, detail});
    }

    bool good() const { return m_good; }
    QString text() const { return table(m_rows); }

private:
    QList<std::pair<QString, QString>> m_rows;
    bool m_good = true;
};

void inspectExports(Findings &findings, const LibraryFacts &facts)
{
    for (const char *symbol :
         {"qt_plugin_instance", "qt_plugin_query_metadata_v2", "qt_plugin_query_verification_data",
          "KestrunGetHostTable", "KestrunSetSystemRoot"}) {
        const bool there = facts.exports.contains(QLatin1String(symbol));
        findings.add(QStringLiteral("export"), there,
                     QLatin1String(symbol) + (there ? QString() : QStringLiteral(" is missing")));
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

void inspectDeviceService(Findings &findings, const LibraryFacts &facts)
{
    const QString name = DeviceServiceLibrary::fileName();
    const bool needed = facts.needed.contains(name);
    findings.add(QStringLiteral("needs"), needed,
                 needed ? name : name + QStringLiteral(" is missing"));
    QStringList directories = qEnvironmentVariable("LD_LIBRARY_PATH")
                                  .split(QLatin1Char(':'), Qt::SkipEmptyParts);
    directories << facts.searched << QLibraryInfo::path(QLibraryInfo::LibrariesPath)
                << QStringLiteral("/usr/local/lib") << QStringLiteral("/usr/lib")
                << QStringLiteral("/lib");
    for (const QString &directory : directories) {
        const QString file = QDir(directory).filePath(name);
        if (QFileInfo(file).isFile())
            return findings.add(QStringLiteral("device service"), true, file);
    }
    findings.add(
        QStringLiteral("device service"), false,
        QStringLiteral("not found; put %1 beside the plug-in, or load it first").arg(name));
}

} // namespace

ExitStatus runInspect(const QStringList &arguments)
{
    CommandLine line(
        QStringLiteral("inspect"),
        QStringLiteral("Shows whether a dashboard would accept a plug-in file, without "
                       "running its code."));
    line.addArgument(QStringLiteral("file"),
                     QStringLiteral("The plug-in; without it, that of this installation."),
                     QStringLiteral("[file]"));
    line.read(arguments, 0, 1);
    const QString fileName = line.positional().isEmpty() ? PluginLibrary::defaultFile()
                                                         : line.positional().constFirst();
    QFile file(fileName);
    if (!QFileInfo(fileName).isFile() || !file.open(QIODevice::ReadOnly)) {
        failRun(
            QStringLiteral("%1 is not a file that can be read; name a plug-in file").arg(fileName));
    }

    Findings findings;
    inspectMetadata(findings, QPluginLoader(QFileInfo(fileName).absoluteFilePath()).metaData());
    inspectTexts(findings, file.readAll());
    if (const auto facts = readElf(fileName)) {
        inspectExports(findings, *facts);
        inspectDeviceService(findings, *facts);
    } else {
        findings.addUnknown(QStringLiteral("exports"),
                            QStringLiteral("it is not an ELF file, or this build has no libelf"));
    }
    print(findings.text());
    print(
        QStringLiteral("\n%1: a dashboard would %2.\n")
            .arg(fileName,
                 findings.good() ? QStringLiteral("accept it") : QStringLiteral("not accept it")));
    return findings.good() ? ExitStatus::Done : ExitStatus::NotDone;
}
