// SPDX-License-Identifier: MIT
#include "RecordModel.h"

#include <algorithm>

namespace {

constexpr const char *kKindNames[] = {
    QT_TRANSLATE_NOOP("RecordModel", "card"),    QT_TRANSLATE_NOOP("RecordModel", "event"),
    QT_TRANSLATE_NOOP("RecordModel", "signal"),  QT_TRANSLATE_NOOP("RecordModel", "rewrite"),
    QT_TRANSLATE_NOOP("RecordModel", "change"),  QT_TRANSLATE_NOOP("RecordModel", "call"),
    QT_TRANSLATE_NOOP("RecordModel", "problem"), QT_TRANSLATE_NOOP("RecordModel", "debug"),
    QT_TRANSLATE_NOOP("RecordModel", "info"),    QT_TRANSLATE_NOOP("RecordModel", "warning"),
    QT_TRANSLATE_NOOP("RecordModel", "critical")};

constexpr const char *kHeaders[] = {QT_TRANSLATE_NOOP("RecordModel", "Time"),
                                    QT_TRANSLATE_NOOP("RecordModel", "Kind"),
                                    QT_TRANSLATE_NOOP("RecordModel", "What happened")};

void dropOldest(QList<Record> &records)
{
    if (records.size() > RecordModel::kCapacity)
        records.remove(0, records.size() - RecordModel::kCapacity);
}

} // namespace

RecordModel::RecordModel()
{
    constexpr int kBatchMs = 100;
    m_batch.setSingleShot(true);
    m_batch.setInterval(kBatchMs);
    connect(&m_batch, &QTimer::timeout, this, &RecordModel::takeAdded);
    connect(this, &RecordModel::added, &m_batch, qOverload<>(&QTimer::start));
}

void RecordModel::add(RecordKind kind, const QString &text)
{
    const Record record{QDateTime::currentDateTime(), kind, text};
    bool first = false;
    {
        const QMutexLocker lock(&m_mutex);
        first = m_added.isEmpty();
        m_added.append(record);
        dropOldest(m_added);
    }
    if (first)
        Q_EMIT added();
}

void RecordModel::takeAdded()
{
    QList<Record> fresh;
    {
        const QMutexLocker lock(&m_mutex);
        fresh.swap(m_added);
    }
    if (const qsizetype excess = m_records.size() + fresh.size() - kCapacity; excess > 0) {
        const int dropped = static_cast<int>(std::min(excess, m_records.size()));
        if (dropped > 0) {
            beginRemoveRows({}, 0, dropped - 1);
            m_records.remove(0, dropped);
            endRemoveRows();
        }
    }
    const int first = rowCount();
    beginInsertRows({}, first, first + static_cast<int>(fresh.size()) - 1);
    m_records += fresh;
    endInsertRows();
}

int RecordModel::rowCount(const QModelIndex &parent) const
{
    return parent.isValid() ? 0 : static_cast<int>(m_records.size());
}

int RecordModel::columnCount(const QModelIndex &parent) const
{
    return parent.isValid() ? 0 : ColumnCount;
}

QVariant RecordModel::data(const QModelIndex &index, int role) const
{
    const Record &record = m_records.at(index.row());
    if (role == KindRole)
        return QString::number(static_cast<int>(record.kind));
    if (role == Qt::ToolTipRole)
        return record.text;
    if (role != Qt::DisplayRole)
        return {};
    switch (index.column()) {
    case Time:
        return record.time.toString(QStringLiteral("HH:mm:ss.zzz"));
    case Kind:
        return tr(kKindNames[static_cast<int>(record.kind)]);
    default:
        return record.text;
    }
}

QVariant RecordModel::headerData(int section, Qt::Orientation orientation, int role) const
{
    if (role != Qt::DisplayRole || orientation != Qt::Horizontal)
        return {};
    return tr(kHeaders[section]);
}
