// SPDX-License-Identifier: MIT
#pragma once

#include "CardBackend.h"

#include <QString>

#include <map>
#include <span>
#include <variant>

namespace devsrv {

/// The answers of an emulated card, as a card file describes them.
struct CardDescription
{
    std::string name; ///< of the shipped card, or the path of the file; UTF-8
    bool present = true;
    std::int32_t status = DEVSRV_STATUS_READY;
    std::string imei;
    std::string imsi;
    std::string serialNumber;
    std::string model;
    CdmaIdentity cdma;
    Versions versions;
    std::int32_t productType = ZEPA_PRODUCT_TYPE_WCDMA;
    NumberMemory numberMemory;
    std::string ownNumber;
    std::int32_t lockState = 0;
    Registration circuitSwitched;
    Registration packetSwitched;
    std::string plmn;
    SystemInfo systemInfo;
    // Whether the report mode stays what it is when it is set.
    bool circuitSwitchedKeepsMode = false;
    bool packetSwitchedKeepsMode = false;
    std::map<std::string, std::string> atAnswers; ///< by command, without the carriage return
    std::map<std::string, bool> refused;          ///< AT commands that are not sent
    std::map<std::string, std::int32_t> results;  ///< by function name
    std::map<std::string, std::int32_t> delaysMs; ///< by function name
};

/// One field of a card file: its key, its range of values, and the event of its change.
struct CardField
{
    using Reference = std::variant<bool *, std::int32_t *, std::string *>;

    const char *key;      ///< "Section/Name"
    std::int32_t minimum; ///< the smallest number; unused for text
    std::int32_t maximum; ///< the largest number, or the longest text in bytes
    std::int32_t event;   ///< the event that a change raises
    Reference (*in)(CardDescription &card);
};

std::span<const CardField> cardFields();

/// Sets one field from its text. Returns "" or what is wrong with `value`.
QString setField(CardDescription &card, const CardField &field, const QString &value);

/// The field with that key, or with that name if it is unique. Null if there is none.
const CardField *findField(const QString &key);

struct ShippedCard
{
    const char *name;
    const char *description;
};

std::span<const ShippedCard> shippedCards();

/// Separates the pieces in which the answer to an AT command arrives.
inline constexpr char kPieceSeparator = '\x1e';

/// Reads a shipped card by its name, or a card file (UTF-8 INI, see docs/cards.md). On failure it
/// returns nothing and one sentence in `error` that says what is wrong, where, and what to do.
std::optional<CardDescription> readCard(const QString &nameOrFile, QString &error);

} // namespace devsrv
