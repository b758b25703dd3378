// SPDX-License-Identifier: MIT
#pragma once

#include "Explanation.h"

#include <QStandardItemModel>

/// The report as a tree, with the state and the origin of each value. Values that the latest
/// rewrite changed are bold.
///
/// Lives on the main thread.
class ReportModel : public QStandardItemModel
{
    Q_OBJECT

public:
    enum Column { Element, Value, State, Origin, ColumnCount };

    ReportModel();

    void setElements(const QList<Explanation> &elements);

    QVariant data(const QModelIndex &index, int role) const override;
    QVariant headerData(int section, Qt::Orientation orientation, int role) const override;

private:
    QStandardItem &item(const QString &path, Column column);
    void addElement(const QString &path);

    QHash<QString, QStandardItem *> m_elements; // the items of the first column, by path
};
