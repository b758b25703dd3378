// SPDX-License-Identifier: MIT
#pragma once

#include <QFrame>
#include <QLabel>
#include <QPushButton>

/// One sentence about a problem, at the top of the window, until it is dismissed or solved. A later
/// message replaces it.
class MessageBar : public QFrame
{
    Q_OBJECT

public:
    MessageBar();

    /// Shows the message; with `canRetry` also the button that emits retried().
    void show(const QString &message, bool canRetry);

    QString message() const { return m_message->text(); }

Q_SIGNALS:
    void retried();

private:
    QLabel *const m_message;
    QPushButton *const m_retry;
};
