// SPDX-License-Identifier: MIT
#pragma once

#include "EventObserver.h"

#include <QMap>

#include <array>

/// Counts what the plug-in does, and keeps the last state of the card.
struct Metrics
{
    /// The upper bounds of the buckets of the durations, in seconds.
    static constexpr std::array kBucketsS{0.025, 0.05, 0.1, 0.25, 0.5, 1.0, 2.5, 5.0, 10.0, 30.0};

    bool withImei = false; ///< whether a label names the card
    CardFields card;
    qint64 cardUs = 0; ///< when the card was asked, in microseconds of the observer's clock
    ReportValues report;
    QMap<int, quint64> events; ///< by number
    quint64 reports = 0;
    QMap<QString, quint64> failures;                   ///< by code of the obstacle
    std::array<quint64, kBucketsS.size()> durations{}; ///< not longer than the bound of the bucket
    double durationSumS = 0;

    /// `labels` is "imei" or empty. Throws Failure for anything else.
    explicit Metrics(const QString &labels);

    /// Counts an event with its effects.
    void add(const HandledEvent &event);

    /// Takes the card's state at a time of the observer's clock, unless a later one is known.
    void takeCard(const CardFields &fields, qint64 timeUs);

    /// Returns the metrics as OpenMetrics text. Readers of the older text format accept it, too:
    /// no type is used that they do not know.
    QByteArray text() const;
};
