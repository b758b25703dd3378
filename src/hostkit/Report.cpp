// SPDX-License-Identifier: MIT
#include "Report.h"

#include "RegularFile.h"

#include <QFile>
#include <QFileInfo>
#include <QStorageInfo>
#include <QStringList>
#include <QXmlStreamReader>

#include <unistd.h>

std::optional<ReportValues> reportValues(const QByteArray &xml)
{
    ReportValues values;
    QStringList path;
    QString text;
    bool leaf = false;
    QXmlStreamReader reader(xml);
    while (!reader.atEnd()) {
        switch (reader.readNext()) {
        case QXmlStreamReader::StartElement:
            path << reader.name().toString();
            text.clear();
            leaf = true;
            break;
        case QXmlStreamReader::Characters:
            text += reader.text();
            break;
        case QXmlStreamReader::EndElement:
            if (leaf)
                values.append({path.join(QLatin1Char('/')), text});
            leaf = false;
            path.removeLast();
            break;
        default:
            break;
        }
    }
    if (reader.hasError())
        return std::nullopt;
    return values;
}

FileState::FileState(const QString &file)
{
    const QFileInfo info(file);
    exists = info.exists();
    modified = info.lastModified();
    size = info.size();
}

std::optional<WrittenReport> readWrittenReport(const QString &file, const FileState &previous)
{
    QFile report(file);
    if (FileState(file) == previous || !openRegularFile(report))
        return std::nullopt;
    const QByteArray xml = report.readAll();
    const auto values = reportValues(xml);
    return values ? std::optional(WrittenReport{xml, *values}) : std::nullopt;
}

Obstacle obstacle(const QString &file)
{
    const QFileInfo info(file);
    QString missing;
    QFileInfo above(info.path());
    for (; !above.exists(); above.setFile(above.path()))
        missing = above.filePath();
    if (above.isDir() && !above.isExecutable()) {
        return {"no-right",
                QStringLiteral("there is no right to enter %1; grant it").arg(above.filePath())};
    }
    if (!missing.isEmpty()) {
        return {"no-directory",
                QStringLiteral("the directory %1 is missing; the dashboard's installation creates "
                               "it, and --root DIR works without it")
                    .arg(missing)};
    }
    if (info.isDir())
        return {"not-a-file", QStringLiteral("%1 is a directory; move it away").arg(file)};
    if (info.exists() && !info.isFile())
        return {"not-a-file", QStringLiteral("%1 is not a regular file; move it away").arg(file)};
    QFile existing(file);
    if (info.exists() && !existing.open(QIODevice::ReadWrite | QIODevice::ExistingOnly)) {
        return {"no-right",
                QStringLiteral("%1 cannot be written: %2; grant the right, or remove the file")
                    .arg(file, existing.errorString())};
    }
    if (!info.exists() && access(QFile::encodeName(info.path()).constData(), W_OK) != 0) {
        return {"no-right",
                QStringLiteral("no file can be created in %1: %2; grant the right")
                    .arg(info.path(), qt_error_string())};
    }
    constexpr qint64 kSmall = 65'536;
    // In a bare chroot no disk may be found.
    const QStorageInfo disk(info.path());
    if (disk.isValid() && disk.bytesAvailable() < kSmall) {
        return {"disk-full",
                QStringLiteral("the disk that holds %1 is full; make room").arg(info.path())};
    }
    return {"unknown",
            QStringLiteral("%1 was not written completely, and no reason is visible; "
                           "--log shows the messages of the plug-in")
                .arg(file)};
}

ConfigState::ConfigState(const QString &fileName) : file(fileName)
{
    QFile config(fileName);
    readable = openRegularFile(config);
    if (!readable)
        return;
    QXmlStreamReader reader(&config);
    while (!reader.atEnd()) {
        if (reader.readNext() == QXmlStreamReader::StartElement
            && reader.name() == QLatin1String("LatestSimLockState"))
            simLocks << reader.readElementText(QXmlStreamReader::IncludeChildElements);
    }
}

QString configChange(const ConfigState &previous, const ConfigState &current)
{
    if (!current.file.exists)
        return QStringLiteral("it does not exist");
    if (!current.readable && current.file == previous.file)
        return QStringLiteral("not updated: it has mode 0002, so that its owner cannot open it "
                              "again (this is intended)");
    if (!current.readable)
        return QStringLiteral("rewritten, but it has mode 0002, so that the change cannot be read");
    if (current.file.size == 0)
        return QStringLiteral("empty: it was missing, or was not XML");
    if (current.simLocks.isEmpty())
        return QStringLiteral("no LatestSimLockState in it");
    const QString now = current.simLocks.join(QStringLiteral(", "));
    if (previous.simLocks == current.simLocks)
        return QStringLiteral("LatestSimLockState %1, unchanged").arg(now);
    return QStringLiteral("LatestSimLockState %1 \u2192 %2")
        .arg(previous.simLocks.join(QStringLiteral(", ")), now);
}
