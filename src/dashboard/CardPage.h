// SPDX-License-Identifier: MIT
#pragma once

#include "CardList.h"

#include <QPushButton>
#include <QTimer>
#include <QTreeWidget>

class Session;

/// Chooses the card: a shipped emulated one, a modem or a serial port. While the page is visible,
/// the list follows what is plugged in and out.
class CardPage : public QWidget
{
    Q_OBJECT

public:
    /// The session must live longer than this object.
    explicit CardPage(Session &session);

    /// Lists the cards again. Sends no commands to ports: those that were found are shown whenever
    /// they exist.
    void refresh();

protected:
    void showEvent(QShowEvent *event) override;

private:
    void fill();
    void addRow(const QString &name, const QString &about, bool usable);
    void use();

    Session &m_session;
    QTreeWidget *const m_cards;
    QPushButton *const m_use;
    DeviceList m_found[2]; // without ports, and the ports
    QTimer m_refresh;
    bool m_searching = false;
};
