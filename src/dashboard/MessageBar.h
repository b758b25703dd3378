// SPDX-License-Identifier: MIT
#pragma once

#include <QFrame>
#include <QLabel>
#include <QPushButton>

/// A sentence about each problem, at the top of the window, with a button that may solve it.
class MessageBar : public QFrame
{
    Q_OBJECT

public:
    MessageBar();

    /// What a button offers.
    enum class Offer { Nothing, Retry, TrialDirectory };

    void show(const QString &message, Offer offer);

Q_SIGNALS:
    void accepted(MessageBar::Offer offer);
    void dismissed();

private:
    QLabel *const m_message;
    QPushButton *const m_accept;
    Offer m_offer = Offer::Nothing;
};
