// SPDX-License-Identifier: MIT
#pragma once

#include "RecordModel.h"

#include <QComboBox>
#include <QSortFilterProxyModel>
#include <QTableView>

/// A table of records with a choice of the kinds that are shown. Follows the latest record while
/// that is in sight.
class RecordView : public QWidget
{
    Q_OBJECT

public:
    struct Filter
    {
        QString name;
        QList<RecordKind> kinds; ///< none: all kinds
    };

    /// The model must live longer than this object. The first filter is chosen.
    RecordView(RecordModel &model, const QString &name, const QList<Filter> &filters);

private:
    void choose(const Filter &filter);

    QSortFilterProxyModel m_shown;
    QTableView *const m_table;
    bool m_atEnd = true;
};
