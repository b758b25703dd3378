// SPDX-License-Identifier: MIT
#pragma once

#include <QAbstractTableModel>
#include <QDateTime>
#include <QMutex>
#include <QTimer>

/// What a record is about.
enum class RecordKind {
    Card,
    Event,
    Signal,
    Rewrite,
    Change,
    Call,
    Problem,
    Debug,
    Info,
    Warning,
    Critical
};

/// One line of the time line or of the log.
struct Record
{
    QDateTime time;
    RecordKind kind;
    QString text;
};

/// The latest records, as a table with the columns time, kind and text.
///
/// Lives on the main thread; add() may be called on any thread. New records appear in batches, ten
/// times a second at most, so that a flood of them costs the window few updates.
class RecordModel : public QAbstractTableModel
{
    Q_OBJECT

public:
    static constexpr int kCapacity = 10'000;
    enum Column { Time, Kind, Text, ColumnCount };
    enum Role { KindRole = Qt::UserRole };

    RecordModel();

    /// Adds a record with the present time. Beyond the capacity the oldest record is dropped.
    void add(RecordKind kind, const QString &text);

    int rowCount(const QModelIndex &parent = {}) const override;
    int columnCount(const QModelIndex &parent = {}) const override;
    QVariant data(const QModelIndex &index, int role) const override;
    QVariant headerData(int section, Qt::Orientation orientation, int role) const override;

Q_SIGNALS:
    /// There are records that are not yet in the table.
    void added();

private:
    void takeAdded();

    QList<Record> m_records;
    QTimer m_batch;
    QMutex m_mutex;
    QList<Record> m_added; // guarded by m_mutex
};
