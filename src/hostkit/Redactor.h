// SPDX-License-Identifier: MIT
#pragma once

#include "NamedValues.h"

#include <QByteArray>
#include <QHash>
#include <QMutex>

/// Replaces identities in texts by made-up values of the same form.
///
/// It learns the identities that the card gives, and replaces them and their pieces wherever they
/// appear. What looks like an identity is replaced, too. One object replaces the same value by the
/// same made-up one; its key is random and never leaves it. Thread-safe.
class Redactor
{
public:
    enum class Extent {
        Usual, ///< keeps MCC and MNC, the type of an IMEI, and the first number of an address
        All    ///< keeps no part
    };

    /// What a value is, which decides on the form of the made-up one.
    enum class Kind { Imei, Imsi, Plmn, Code, Number, Address, Answer, Text };

    /// Also learns the names of this user and this computer.
    explicit Redactor(Extent extent);

    /// Learns a value. The name is a field of a card file, the last part of one, or an element's
    /// path in a report; other names are ignored.
    void learn(const QString &name, const QString &value);
    void learn(const NamedValues &values);
    void learn(Kind kind, const QString &value);

    /// Returns the text without identities.
    QString redacted(const QString &text) const;

    /// Returns the values without identities, each by its name as of learn().
    NamedValues redacted(const NamedValues &values) const;
    QString redacted(const QString &name, const QString &value) const;

private:
    // What is at a place of a text, and what replaces it. Nothing is there if the length is 0.
    struct Match
    {
        qsizetype length = 0;
        QString made;
    };
    // Where a piece of a known value is in it.
    struct Piece
    {
        QString value;
        QString made;
        qsizetype offset;
    };

    QByteArray stream(const QString &value, int attempt) const;
    QString scrambled(const QString &value, qsizetype kept) const;
    QString madeUp(Kind kind, const QString &value) const;
    void index(const QString &value, const QString &made);
    QString scanned(const QString &text, bool isAnswer) const;
    Match valueAt(const QString &text, qsizetype position) const;
    Match pieceAt(const QString &text, qsizetype position) const;
    Match formAt(const QString &text, qsizetype position) const;
    Match answerWordAt(const QString &text, qsizetype position) const;

    const Extent m_extent;
    const QByteArray m_key;
    mutable QMutex m_mutex; // guards what follows; held while it is read or changed
    QHash<QString, Piece> m_pieces;
    QHash<QString, QString> m_words; // values that are replaced only as a whole
};
