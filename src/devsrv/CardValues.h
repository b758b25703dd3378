// SPDX-License-Identifier: MIT
#pragma once

#include "CardBackend.h"

#include <chrono>
#include <string>
#include <vector>

namespace devsrv {

// What the backends of real cards have in common, so that a card has the same values, and raises
// its events as often, on each way to reach it.

/// The status of a card that is there and cannot be used.
inline constexpr std::int32_t kStatusNotReady = 2;

/// The report mode where callers have no choice: the card always reports its location.
inline constexpr std::int32_t kReportModeUnknown = 0;

/// From the first change to the events of it and of the changes after it. A change does not restart
/// the time: a flood of changes would defer the events without end.
inline constexpr std::chrono::milliseconds kMergeTime{250};

/// Whether a hexadecimal number is an area: networks use 0 and FFFE for "no area".
inline bool isArea(const std::string &number)
{
    const auto area = std::stoull(number, nullptr, 16);
    return area != 0 && area != 0xFFFE;
}

/// Both versions. Returns nothing only if both are missing, since many cards tell the firmware's
/// alone.
inline std::optional<Versions> versionsFrom(const std::optional<std::string> &firmware,
                                            const std::optional<std::string> &hardware)
{
    if (!firmware && !hardware)
        return std::nullopt;
    return Versions{firmware.value_or(std::string()), hardware.value_or(std::string())};
}

/// A card's own numbers. The phonebook's indexes are not known, so the numbers count from 1.
using OwnNumbers = std::optional<std::vector<std::string>>;

inline std::optional<NumberMemory> numberMemoryOf(const OwnNumbers &numbers)
{
    if (!numbers)
        return std::nullopt;
    return NumberMemory{1, static_cast<std::int32_t>(numbers->size())};
}

inline std::optional<std::string> ownNumberOf(const OwnNumbers &numbers, std::int32_t index)
{
    if (!numbers || index < 1 || static_cast<std::size_t>(index) > numbers->size())
        return std::nullopt;
    return numbers->at(static_cast<std::size_t>(index) - 1);
}

} // namespace devsrv
