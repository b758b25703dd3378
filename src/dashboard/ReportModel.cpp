// SPDX-License-Identifier: MIT
#include "ReportModel.h"

#include "VisibleText.h"

#include <QFont>

ReportModel::ReportModel()
{
    setColumnCount(ColumnCount);
}

void ReportModel::setValues(const ReportValues &values)
{
    const bool first = m_elements.isEmpty();
    for (const auto &[path, value] : values) {
        QStandardItem *const item = valueItem(path);
        const QString shown = visible(value);
        QFont font;
        font.setBold(!first && item->text() != shown);
        item->setFont(font);
        item->setText(shown);
        item->setToolTip(shown);
    }
}

// Creates the element, and those above it, if the path is new.
QStandardItem *ReportModel::valueItem(const QString &path)
{
    const qsizetype slash = path.lastIndexOf(QLatin1Char('/'));
    if (!m_elements.contains(path)) {
        auto *const element = new QStandardItem(path.mid(slash + 1));
        QList<QStandardItem *> row{element};
        while (row.size() < ColumnCount)
            row << new QStandardItem;
        for (QStandardItem *const item : row)
            item->setEditable(false);
        m_elements.insert(path, element);
        if (slash < 0) {
            appendRow(row);
        } else {
            valueItem(path.left(slash));
            m_elements.value(path.left(slash))->appendRow(row);
        }
    }
    QStandardItem *const element = m_elements.value(path);
    return itemFromIndex(element->index().siblingAtColumn(Value));
}

QVariant ReportModel::headerData(int section, Qt::Orientation orientation, int role) const
{
    if (role != Qt::DisplayRole || orientation != Qt::Horizontal)
        return QStandardItemModel::headerData(section, orientation, role);
    return section == Element ? tr("Element") : tr("Value");
}
