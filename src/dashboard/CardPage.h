// SPDX-License-Identifier: MIT
#pragma once

#include "CardList.h"

#include <QPushButton>
#include <QTimer>
#include <QTreeWidget>

#include <array>

class Session;

/// Chooses the card: a shipped emulated one, a modem or a serial port. While the page is visible,
/// the list follows what is plugged in and out.
class CardPage : public QWidget
{
    Q_OBJECT

public:
    /// The cards that were found: those without ports, and the ports.
    using Found = std::array<DeviceList, 2>;

    /// The session and the cards must live longer than this object.
    CardPage(Session &session, Found &found);

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
    Found &m_found;
    QTreeWidget *const m_cards;
    QPushButton *const m_use;
    QTimer m_refresh;
    bool m_searching = false;
};
