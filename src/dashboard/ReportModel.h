// SPDX-License-Identifier: MIT
#pragma once

#include "Report.h"

#include <QStandardItemModel>

/// The report as a tree with a column for the values. Values of the latest rewrite that changed are
/// bold.
///
/// Lives on the main thread.
class ReportModel : public QStandardItemModel
{
    Q_OBJECT

public:
    enum Column { Element, Value, ColumnCount };

    ReportModel();

    void setValues(const ReportValues &values);

    QVariant headerData(int section, Qt::Orientation orientation, int role) const override;

private:
    QStandardItem *valueItem(const QString &path);

    QHash<QString, QStandardItem *> m_elements; // the items of the first column, by path
};
