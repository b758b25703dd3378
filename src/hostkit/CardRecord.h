// SPDX-License-Identifier: MIT
#pragma once

#include "CardState.h"

#include <QStringList>

/// What a record has besides the card's values and results.
struct RecordOptions
{
    QStringList commands; ///< AT commands, whose answers are recorded
    bool delays = false;  ///< how long each function took
};

/// Asks the active card everything, switches the reports of its location on meanwhile, and returns
/// the fields of a card file whose emulated card answers alike: the plug-in's first report is the
/// same. The SMS trigger is always among the commands. A message is not sent.
///
/// Main thread. Blocks until the card has answered.
CardFields recordCard(const DeviceServiceLibrary &library, const RecordOptions &options);

/// Returns the card file with these fields, marked as a complete record.
QByteArray recordFile(const CardFields &fields);
