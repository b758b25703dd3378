// SPDX-License-Identifier: MIT
#include "MessageBar.h"

#include <QAccessible>
#include <QHBoxLayout>
#include <QStyle>

MessageBar::MessageBar() : m_message(new QLabel), m_accept(new QPushButton)
{
    setFrameShape(StyledPanel);
    setAutoFillBackground(true);
    setBackgroundRole(QPalette::ToolTipBase);
    setForegroundRole(QPalette::ToolTipText);
    auto *const icon = new QLabel;
    const int size = style()->pixelMetric(QStyle::PM_SmallIconSize);
    icon->setPixmap(style()->standardIcon(QStyle::SP_MessageBoxWarning).pixmap(size));
    icon->setAccessibleName(tr("Warning"));
    m_message->setObjectName(QStringLiteral("message"));
    m_message->setForegroundRole(QPalette::ToolTipText);
    m_message->setWordWrap(true);
    m_message->setTextFormat(Qt::PlainText);
    m_message->setTextInteractionFlags(Qt::TextSelectableByMouse | Qt::TextSelectableByKeyboard);
    auto *const dismiss = new QPushButton(tr("Dismiss"));
    auto *const buttons = new QVBoxLayout;
    buttons->addWidget(m_accept);
    buttons->addWidget(dismiss);
    buttons->addStretch();
    auto *const layout = new QHBoxLayout(this);
    layout->addWidget(icon, 0, Qt::AlignTop);
    layout->addWidget(m_message, 1);
    layout->addLayout(buttons);
    connect(m_accept, &QPushButton::clicked, this, [this] { Q_EMIT accepted(m_offer); });
    connect(dismiss, &QPushButton::clicked, this, &MessageBar::dismissed);
    hide();
}

void MessageBar::show(const QString &message, Offer offer)
{
    m_message->setText(message);
    m_message->setAccessibleName(m_message->text());
    m_offer = offer;
    m_accept->setVisible(offer != Offer::Nothing);
    m_accept->setText(offer == Offer::Retry ? tr("Try again") : tr("Use a trial directory"));
    QWidget::show();
    QAccessibleEvent alert(m_message, QAccessible::Alert);
    QAccessible::updateAccessibility(&alert);
}
