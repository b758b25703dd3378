// SPDX-License-Identifier: MIT
#include "RecordView.h"

#include <QHeaderView>
#include <QScrollBar>
#include <QVBoxLayout>

RecordView::RecordView(RecordModel &model, const QString &name, const QList<Filter> &filters)
    : m_table(new QTableView)
{
    m_shown.setFilterRole(RecordModel::KindRole);
    m_shown.setSourceModel(&model);

    m_table->setAccessibleName(name);
    m_table->setModel(&m_shown);
    m_table->setSelectionBehavior(QAbstractItemView::SelectRows);
    m_table->setTabKeyNavigation(false);
    m_table->setShowGrid(false);
    m_table->setWordWrap(false);
    m_table->verticalHeader()->hide();
    // Rows of one height: the table does not measure thousands of them.
    m_table->verticalHeader()->setSectionResizeMode(QHeaderView::Fixed);
    m_table->verticalHeader()->setDefaultSectionSize(m_table->fontMetrics().height() + 4);
    m_table->horizontalHeader()->setStretchLastSection(true);
    const auto widthOf = [this](const QString &text) {
        return m_table->fontMetrics().horizontalAdvance(text + QStringLiteral("  "));
    };
    m_table->setColumnWidth(RecordModel::Time, widthOf(QStringLiteral("00:00:00.000")));
    m_table->setColumnWidth(RecordModel::Kind, widthOf(QStringLiteral("Mmmmmmmm")));

    auto *const filter = new QComboBox;
    filter->setAccessibleName(tr("What is shown"));
    for (const Filter &choice : filters)
        filter->addItem(choice.name);
    connect(filter, &QComboBox::currentIndexChanged, this,
            [this, filters](int index) { choose(filters.at(index)); });

    auto *const layout = new QVBoxLayout(this);
    layout->addWidget(filter);
    layout->addWidget(m_table);

    // The range changes with the number of rows, the value when the user scrolls.
    QScrollBar *const bar = m_table->verticalScrollBar();
    connect(bar, &QScrollBar::valueChanged, this,
            [this, bar](int value) { m_atEnd = value == bar->maximum(); });
    connect(bar, &QScrollBar::rangeChanged, this, [this, bar](int, int maximum) {
        if (m_atEnd)
            bar->setValue(maximum);
    });
    choose(filters.constFirst());
}

void RecordView::choose(const Filter &filter)
{
    QStringList kinds;
    for (const RecordKind kind : filter.kinds)
        kinds << QString::number(static_cast<int>(kind));
    m_shown.setFilterRegularExpression(
        kinds.isEmpty() ? QString() : QStringLiteral("^(%1)$").arg(kinds.join(QLatin1Char('|'))));
}
