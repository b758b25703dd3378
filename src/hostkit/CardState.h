// SPDX-License-Identifier: MIT
#pragma once

#include "DeviceServiceLibrary.h"
#include "NamedValues.h"

#include <QByteArray>

/// Fields of a card file with their values: "Network/PLMN", "Results/ZEPA_DevSrv_GetSN".
using CardFields = NamedValues;

/// Ends a piece of an AT answer in a card file.
inline constexpr char kPieceEnd = '\x1e';

/// One question to the card.
struct CardCall
{
    const char *function; ///< of DeviceService.h
    std::int32_t result;
    qint64 microseconds;
};

/// What a card answers at one moment.
struct CardState
{
    CardFields fields; ///< with the results of the functions that failed
    QList<CardCall> calls;
};

/// Asks the active card everything that DeviceService.h lets a host ask without changing the card.
/// A question that fails leaves out its fields, and the result is a field instead. If all fail, the
/// state is that of a card that is not inserted.
///
/// Any thread, also in an event callback. Blocks until the card has answered.
CardState askCard(const DeviceServiceLibrary &library);

/// Returns the card file with these fields. The emulated card that reads it answers alike.
QByteArray cardFile(const CardFields &fields);
