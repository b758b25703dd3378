// SPDX-License-Identifier: MIT
#include "ReportWatch.h"

#include "RegularFile.h"

#include <QFile>
#include <QFileInfo>

namespace {

QList<ValueChange> changedValues(const ReportValues &previous, const ReportValues &current)
{
    QList<ValueChange> changes;
    for (const auto &[path, value] : current) {
        const QString before = valueOf(previous, path);
        if (value != before)
            changes.append({path, before, value});
    }
    return changes;
}

} // namespace

ReportWatch::ReportWatch(const QString &file) : m_file(file), m_state(file)
{
    QFile report(file);
    if (openRegularFile(report))
        m_xml = report.readAll();
    // A rewrite changes the file several times within milliseconds.
    constexpr int kSettleMs = 30;
    m_settle.setSingleShot(true);
    m_settle.setInterval(kSettleMs);
    connect(&m_settle, &QTimer::timeout, this, &ReportWatch::check);
    // Not started again by each change: rewrites that follow closely would never be told.
    const auto changed = [this] {
        if (!m_settle.isActive())
            m_settle.start();
    };
    connect(&m_files, &QFileSystemWatcher::fileChanged, this, changed);
    connect(&m_files, &QFileSystemWatcher::directoryChanged, this, changed);
}

void ReportWatch::check()
{
    watchFiles();
    const FileState state(m_file);
    QFile report(m_file);
    if (!openRegularFile(report))
        return;
    const QByteArray xml = report.readAll();
    const auto values = reportValues(xml);
    if (!values) {
        // A rewrite is under way, and its next change starts the timer again.
        return;
    }
    if (state == m_state && xml == m_xml)
        return;
    m_state = state;
    m_xml = xml;
    const QList<ValueChange> changes = changedValues(m_values, *values);
    m_values = *values;
    Q_EMIT rewritten(changes);
}

void ReportWatch::watchFiles()
{
    // The file watcher drops a file that is removed, also if it is created again.
    for (const QString &path : {m_file, QFileInfo(m_file).path()}) {
        if (QFileInfo::exists(path))
            m_files.addPath(path);
    }
}
