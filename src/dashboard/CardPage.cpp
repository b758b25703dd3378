// SPDX-License-Identifier: MIT
#include "CardPage.h"

#include "Session.h"

#include <QVBoxLayout>

CardPage::CardPage(Session &session)
    : m_session(session), m_cards(new QTreeWidget), m_use(new QPushButton(tr("&Use this card")))
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

    connect(search, &QPushButton::clicked, this, &CardPage::refresh);
    connect(ports, &QPushButton::clicked, this, [&session] { session.findCards(true); });
    connect(m_use, &QPushButton::clicked, this, &CardPage::use);
    connect(m_cards, &QTreeWidget::itemActivated, this, &CardPage::use);
    connect(m_cards, &QTreeWidget::itemSelectionChanged, this,
            [this] { m_use->setEnabled(!m_cards->selectedItems().isEmpty()); });
    connect(&session, &Session::cardsFound, this, [this](const NamedValues &rows) {
        m_cards->clear();
        for (const auto &[name, about] : rows) {
            auto *const item = new QTreeWidgetItem({m_session.shown(name), m_session.shown(about)});
            item->setData(0, Qt::UserRole, name);
            m_cards->addTopLevelItem(item);
        }
        m_cards->resizeColumnToContents(0);
    });
    m_use->setEnabled(false);
}

void CardPage::refresh()
{
    m_session.findCards(false);
}

void CardPage::use()
{
    const QList<QTreeWidgetItem *> chosen = m_cards->selectedItems();
    if (!chosen.isEmpty())
        m_session.startCard(chosen.constFirst()->data(0, Qt::UserRole).toString());
}
