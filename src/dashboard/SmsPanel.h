// SPDX-License-Identifier: MIT
#pragma once

#include <QCheckBox>
#include <QLabel>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QPushButton>

class Session;

/// Sends a message, and shows what became of it.
class SmsPanel : public QWidget
{
    Q_OBJECT

public:
    /// The session must live longer than this object.
    explicit SmsPanel(Session &session);

private:
    void showState();

    Session &m_session;
    QLineEdit *const m_number;
    QPlainTextEdit *const m_text;
    QCheckBox *const m_receipt;
    QPushButton *const m_send;
    QLabel *const m_result;
};
