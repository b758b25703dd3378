// SPDX-License-Identifier: MIT
#pragma once

#include <QPushButton>
#include <QTreeWidget>

class Session;

/// Chooses the card: a shipped emulated one, a modem or a serial port.
class CardPage : public QWidget
{
    Q_OBJECT

public:
    /// The session must live longer than this object.
    explicit CardPage(Session &session);

    /// Lists the cards that are found without sending commands to ports.
    void refresh();

private:
    void use();

    Session &m_session;
    QTreeWidget *const m_cards;
    QPushButton *const m_use;
};
