// SPDX-License-Identifier: MIT
#include "ReportModel.h"

#include <QFont>

namespace {

constexpr const char *kColumns[] = {
    QT_TRANSLATE_NOOP("ReportModel", "Element"), QT_TRANSLATE_NOOP("ReportModel", "Value"),
    QT_TRANSLATE_NOOP("ReportModel", "State"), QT_TRANSLATE_NOOP("ReportModel", "Origin")};

constexpr struct
{
    const char *code;
    const char *name;
} kStates[] = {
    {"ok", QT_TRANSLATE_NOOP("ReportModel", "ok")},
    {"empty-by-rule", QT_TRANSLATE_NOOP("ReportModel", "empty by rule")},
    {"refused", QT_TRANSLATE_NOOP("ReportModel", "refused")},
    {"timed-out", QT_TRANSLATE_NOOP("ReportModel", "timed out")},
    {"unsupported", QT_TRANSLATE_NOOP("ReportModel", "not supported")},
    {"file-missing", QT_TRANSLATE_NOOP("ReportModel", "file missing")},
    {"cut", QT_TRANSLATE_NOOP("ReportModel", "cut")},
};

QString stateName(const QString &code)
{
    for (const auto &state : kStates) {
        if (code == QLatin1String(state.code))
            return ReportModel::tr(state.name);
    }
    return code;
}

void show(QStandardItem &item, const QString &text)
{
    item.setText(text);
    item.setToolTip(text);
}

} // namespace

ReportModel::ReportModel()
{
    setColumnCount(ColumnCount);
}

void ReportModel::setElements(const QList<Explanation> &elements)
{
    const bool first = m_elements.isEmpty();
    for (const Explanation &element : elements) {
        if (!m_elements.contains(element.path))
            addElement(element.path);
        QStandardItem &value = item(element.path, Value);
        QFont font;
        font.setBold(!first && value.text() != element.value);
        value.setFont(font);
        show(value, element.value);
        item(element.path, State).setText(element.state);
        QString origin = element.origin.isEmpty() ? element.kind : element.origin;
        if (!element.advice.isEmpty())
            origin += QStringLiteral(" (%1): %2").arg(element.reason, element.advice);
        show(item(element.path, Origin), origin);
    }
}

QStandardItem &ReportModel::item(const QString &path, Column column)
{
    return *itemFromIndex(m_elements.value(path)->index().siblingAtColumn(column));
}

// Adds those above it, too.
void ReportModel::addElement(const QString &path)
{
    const qsizetype slash = path.lastIndexOf(QLatin1Char('/'));
    QList<QStandardItem *> row{new QStandardItem(path.mid(slash + 1))};
    while (row.size() < ColumnCount)
        row << new QStandardItem;
    for (QStandardItem *const cell : row)
        cell->setEditable(false);
    m_elements.insert(path, row.constFirst());
    if (slash < 0)
        return appendRow(row);
    const QString parent = path.left(slash);
    if (!m_elements.contains(parent))
        addElement(parent);
    m_elements.value(parent)->appendRow(row);
}

// The states are named in the present language, which may have changed since they were set.
QVariant ReportModel::data(const QModelIndex &index, int role) const
{
    QVariant shown = QStandardItemModel::data(index, role);
    if (index.column() == State && role == Qt::DisplayRole && shown.isValid())
        shown = stateName(shown.toString());
    return shown;
}

QVariant ReportModel::headerData(int section, Qt::Orientation orientation, int role) const
{
    if (role != Qt::DisplayRole || orientation != Qt::Horizontal)
        return QStandardItemModel::headerData(section, orientation, role);
    return tr(kColumns[section]);
}
