// SPDX-License-Identifier: MIT
#pragma once

#include "Session.h"

#include <QLabel>

/// A drawing of the card: a SIM that is missing, locked, searching or registered.
class CardPicture : public QWidget
{
    Q_OBJECT

public:
    enum class State { Missing, Locked, Searching, Registered };

    CardPicture();
    void setState(State state);

protected:
    void paintEvent(QPaintEvent *event) override;

private:
    State m_state = State::Missing;
};

/// The card in a few words: model, source, operator, technology, registration and lock.
class CardHeader : public QWidget
{
    Q_OBJECT

public:
    CardHeader();

    /// Shows a card, or that there is none yet if the facts have no fields. `technology` is that of
    /// the report. The texts are shown as they are.
    void show(const CardFacts &facts, const QString &technology);

private:
    CardPicture *const m_picture;
    QLabel *const m_model;
    QLabel *const m_state;
    QLabel *const m_source;
};
