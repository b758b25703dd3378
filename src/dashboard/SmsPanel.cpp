// SPDX-License-Identifier: MIT
#include "SmsPanel.h"

#include "Session.h"

#include <QFormLayout>

SmsPanel::SmsPanel(Session &session)
    : m_session(session), m_number(new QLineEdit), m_text(new QPlainTextEdit),
      m_receipt(new QCheckBox(tr("Ask for a delivery &receipt"))),
      m_send(new QPushButton(tr("&Send"))), m_result(new QLabel)
{
    m_number->setObjectName(QStringLiteral("number"));
    if (session.isRedacting())
        m_number->setEchoMode(QLineEdit::PasswordEchoOnEdit);
    m_text->setObjectName(QStringLiteral("text"));
    m_text->setTabChangesFocus(true);
    m_receipt->setObjectName(QStringLiteral("receipt"));
    m_send->setObjectName(QStringLiteral("send"));
    m_result->setObjectName(QStringLiteral("result"));
    m_result->setWordWrap(true);
    m_result->setTextFormat(Qt::PlainText);

    auto *const form = new QFormLayout(this);
    form->setRowWrapPolicy(QFormLayout::WrapLongRows);
    form->addRow(tr("&Number:"), m_number);
    form->addRow(tr("&Text:"), m_text);
    form->addRow(m_receipt);
    form->addRow(m_send);
    form->addRow(m_result);

    connect(m_number, &QLineEdit::textChanged, this, &SmsPanel::showState);
    connect(m_send, &QPushButton::clicked, this, [this] {
        m_session.sendSms(m_number->text(), m_text->toPlainText(), m_receipt->isChecked());
        showState();
    });
    connect(&session, &Session::smsDone, this, [this](const QString &result) {
        m_result->setText(result);
        showState();
    });
    showState();
}

void SmsPanel::showState()
{
    m_send->setEnabled(!m_session.isSending() && !m_number->text().isEmpty());
    if (m_session.isSending())
        m_result->setText(tr("The message is being sent…"));
}
