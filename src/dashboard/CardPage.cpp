// SPDX-License-Identifier: MIT
#include "CardPage.h"

#include "Session.h"

#include <QFileInfo>
#include <QVBoxLayout>

namespace {

// As --card takes it.
QString nameOf(const QTreeWidgetItem &card)
{
    return card.data(0, Qt::UserRole).toString();
}

} // namespace

CardPage::CardPage(Session &session, Found &found)
    : m_session(session), m_found(found), m_cards(new QTreeWidget),
      m_use(new QPushButton(tr("&Use this card")))
{
    m_cards->setObjectName(QStringLiteral("cards"));
    m_cards->setAccessibleName(tr("Cards"));
    m_cards->setRootIsDecorated(false);
    m_cards->setHeaderLabels({tr("Card"), tr("What it is")});
    auto *const search = new QPushButton(tr("L&ook again"));
    auto *const ports = new QPushButton(tr("Try serial &ports"));
    ports->setToolTip(tr("Sends commands to each serial port to find those with a card."));
    ports->setAccessibleDescription(ports->toolTip());
    auto *const layout = new QVBoxLayout(this);
    layout->addWidget(m_cards);
    for (QPushButton *const button : {m_use, search, ports})
        layout->addWidget(button);

    // A flood of events must not fill the worker with searches.
    constexpr int kRefreshMs = 300;
    m_refresh.setSingleShot(true);
    m_refresh.setInterval(kRefreshMs);
    connect(&m_refresh, &QTimer::timeout, this, [this] {
        if (m_searching)
            return m_refresh.start();
        m_searching = m_session.findCards(false);
    });
    connect(&session, &Session::availableChanged, this, &CardPage::refresh);
    connect(&session, &Session::cardsChanged, this, [this] {
        // What was wrong with a port may be over.
        m_found[1].failures.clear();
        refresh();
    });
    connect(&session, &Session::cardsFound, this, [this](bool ofPorts, const DeviceList &cards) {
        if (!ofPorts)
            m_searching = false;
        m_found[ofPorts ? 1 : 0] = cards;
        fill();
    });
    connect(search, &QPushButton::clicked, this, &CardPage::refresh);
    connect(ports, &QPushButton::clicked, this, [&session] { session.findCards(true); });
    connect(m_use, &QPushButton::clicked, this, &CardPage::use);
    connect(m_cards, &QTreeWidget::itemActivated, this, &CardPage::use);
    connect(m_cards, &QTreeWidget::itemSelectionChanged, this,
            [this] { m_use->setEnabled(!m_cards->selectedItems().isEmpty()); });
    m_use->setEnabled(false);
    setEnabled(false);
}

void CardPage::refresh()
{
    // A card maker's library offers no choice.
    const DeviceServiceLibrary *const library = m_session.deviceService();
    setEnabled(m_session.window() && library->control());
    if (isEnabled() && isVisible() && !m_refresh.isActive())
        m_refresh.start();
}

void CardPage::showEvent(QShowEvent *event)
{
    QWidget::showEvent(event);
    refresh();
}

void CardPage::fill()
{
    const QList<QTreeWidgetItem *> selected = m_cards->selectedItems();
    const QString chosen = selected.isEmpty() ? QString() : nameOf(*selected.constFirst());
    m_cards->clear();
    for (const DeviceList &list : m_found) {
        for (const auto &[name, about] : list.rows) {
            // A port that was unplugged may come back.
            if (&list == &m_found[0] || QFileInfo::exists(name.section(u':', 1)))
                addRow(name, about, true);
        }
        for (const auto &[name, why] : list.failures)
            addRow(name, why, false);
    }
    for (int row = 0; row < m_cards->topLevelItemCount(); ++row) {
        QTreeWidgetItem *const item = m_cards->topLevelItem(row);
        if (!chosen.isEmpty() && nameOf(*item) == chosen)
            m_cards->setCurrentItem(item);
    }
    m_cards->resizeColumnToContents(0);
}

void CardPage::addRow(const QString &name, const QString &about, bool usable)
{
    auto *const item = new QTreeWidgetItem({m_session.shown(name), m_session.shown(about)});
    if (usable)
        item->setData(0, Qt::UserRole, name);
    else
        item->setFlags(Qt::ItemIsEnabled);
    m_cards->addTopLevelItem(item);
}

void CardPage::use()
{
    const QList<QTreeWidgetItem *> chosen = m_cards->selectedItems();
    if (!chosen.isEmpty())
        m_session.startCard(nameOf(*chosen.constFirst()));
}
