// SPDX-License-Identifier: MIT
#include "CardHeader.h"

#include "VisibleText.h"
#include "shared/RegistrationState.h"

#include <QHBoxLayout>
#include <QPainter>
#include <QPainterPath>

namespace {

// By shared::RegistrationState.
constexpr const char *kRegistrations[] = {
    QT_TRANSLATE_NOOP("CardHeader", "not registered"),
    QT_TRANSLATE_NOOP("CardHeader", "registered at home"),
    QT_TRANSLATE_NOOP("CardHeader", "searching for a network"),
    QT_TRANSLATE_NOOP("CardHeader", "registration denied"),
    QT_TRANSLATE_NOOP("CardHeader", "registration unknown"),
    QT_TRANSLATE_NOOP("CardHeader", "registered, roaming"),
    QT_TRANSLATE_NOOP("CardHeader", "registered at home, messages only"),
    QT_TRANSLATE_NOOP("CardHeader", "registered, roaming, messages only"),
    QT_TRANSLATE_NOOP("CardHeader", "emergency calls only"),
    QT_TRANSLATE_NOOP("CardHeader", "registered at home, calls not preferred"),
    QT_TRANSLATE_NOOP("CardHeader", "registered, roaming, calls not preferred"),
};
static_assert(std::size(kRegistrations) == shared::kRegistrationStates);

bool isUnlimited(int state)
{
    return state == shared::kHome || state == shared::kRoaming;
}

// That of the domain in which the card is registered, if it is in one. A card may be registered in
// one domain for messages, and in the other one for everything.
int registrationOf(const CardFields &fields)
{
    int found = shared::kRegistrationUnknown;
    for (const char *field : {"CS/State", "PS/State"}) {
        bool known = false;
        const int state = valueOf(fields, QLatin1String(field)).toInt(&known);
        if (!known || state < 0 || state >= shared::kRegistrationStates)
            continue;
        if (!shared::isRegistered(found) || (isUnlimited(state) && !isUnlimited(found)))
            found = state;
    }
    return found;
}

} // namespace

CardPicture::CardPicture()
{
    setFixedSize(72, 52);
    setAccessibleName(tr("Picture of the card"));
}

void CardPicture::setState(State state)
{
    m_state = state;
    update();
}

void CardPicture::paintEvent(QPaintEvent *)
{
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const QRectF area = QRectF(rect()).adjusted(2, 2, -2, -2);
    const bool missing = m_state == State::Missing;
    const QColor outline = palette().color(missing ? QPalette::PlaceholderText : QPalette::Text);

    QPainterPath card(area.topLeft() + QPointF(4, 0));
    card.lineTo(area.topRight() + QPointF(-14, 0));
    card.lineTo(area.topRight() + QPointF(0, 14));
    card.lineTo(area.bottomRight());
    card.lineTo(area.bottomLeft());
    card.lineTo(area.topLeft());
    card.closeSubpath();
    painter.setPen(QPen(outline, 2, missing ? Qt::DashLine : Qt::SolidLine));
    painter.setBrush(missing ? Qt::NoBrush : QBrush(palette().color(QPalette::AlternateBase)));
    painter.drawPath(card);
    if (missing)
        return;

    const QRectF chip(area.left() + 8, area.center().y() - 10, 24, 20);
    painter.setPen(QPen(outline, 1));
    painter.setBrush(QColor(0xd9a441));
    painter.drawRoundedRect(chip, 3, 3);
    painter.drawLine(QPointF(chip.left(), chip.center().y()),
                     QPointF(chip.right(), chip.center().y()));
    painter.drawLine(QPointF(chip.center().x(), chip.top()),
                     QPointF(chip.center().x(), chip.bottom()));

    const QPointF base(area.right() - 26, area.bottom() - 8);
    if (m_state == State::Locked) {
        painter.setPen(QPen(outline, 2));
        painter.setBrush(Qt::NoBrush);
        painter.drawArc(QRectF(base.x() + 4, base.y() - 22, 10, 16), 0, 180 * 16);
        painter.setBrush(outline);
        painter.drawRoundedRect(QRectF(base.x(), base.y() - 13, 18, 13), 2, 2);
        return;
    }
    painter.setPen(QPen(outline, 1));
    painter.setBrush(m_state == State::Registered ? QBrush(QColor(0x2e9e5b)) : Qt::NoBrush);
    for (int bar = 0; bar < 4; ++bar) {
        const double height = 5 + 4 * bar;
        painter.drawRect(QRectF(base.x() + 5 * bar, base.y() - height, 4, height));
    }
}

CardHeader::CardHeader()
    : m_picture(new CardPicture), m_model(new QLabel), m_state(new QLabel), m_source(new QLabel)
{
    QFont large = m_model->font();
    large.setPointSizeF(large.pointSizeF() * 1.4);
    large.setBold(true);
    m_model->setFont(large);
    auto *const texts = new QVBoxLayout;
    texts->setSpacing(2);
    for (QLabel *const label : {m_model, m_state, m_source}) {
        label->setWordWrap(true);
        label->setTextFormat(Qt::PlainText);
        texts->addWidget(label);
    }
    m_source->setForegroundRole(QPalette::PlaceholderText);
    auto *const layout = new QHBoxLayout(this);
    layout->addWidget(m_picture, 0, Qt::AlignTop);
    layout->addLayout(texts, 1);
}

void CardHeader::show(const CardFacts &facts, const QString &technology)
{
    if (facts.fields.isEmpty()) {
        m_picture->setState(CardPicture::State::Missing);
        m_model->setText(tr("No card yet"));
        m_state->clear();
        m_source->clear();
        return;
    }
    const auto field = [&](const char *name) {
        return visible(valueOf(facts.fields, QLatin1String(name)));
    };
    const QString lock = field("Lock/State");
    const int registration = registrationOf(facts.fields);
    const bool locked = !lock.isEmpty() && lock != QLatin1String("0");
    m_source->setText(facts.source);
    if (field("Card/Present") != QLatin1String("true")) {
        m_picture->setState(CardPicture::State::Missing);
        m_model->setText(tr("No card"));
        m_state->setText(tr("Insert a card, or choose one on the page Cards."));
        return;
    }
    m_picture->setState(locked                                   ? CardPicture::State::Locked
                            : shared::isRegistered(registration) ? CardPicture::State::Registered
                                                                 : CardPicture::State::Searching);
    const QString model = field("Identity/Model");
    m_model->setText(model.isEmpty() ? tr("A card without a model") : model);
    QStringList words;
    const QString plmn = field("Network/PLMN");
    words << (plmn.isEmpty() ? tr("no operator") : tr("operator %1").arg(plmn));
    words << (technology.isEmpty() ? tr("no technology") : technology);
    words << tr(kRegistrations[registration]);
    words << (lock.isEmpty() ? tr("lock unknown")
                  : locked   ? tr("SIM locked (state %1)").arg(lock)
                             : tr("SIM not locked"));
    m_state->setText(words.join(QStringLiteral(" · ")));
}
