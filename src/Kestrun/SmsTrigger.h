// SPDX-License-Identifier: MIT
#pragma once

#include <string>

namespace kestrun {

/// The command that asks the card for its SMS-trigger setting.
inline constexpr char kTriggerCommand[] = "AT^RSTRIGGER?\r";

/// What one piece of response to kTriggerCommand makes of the query.
struct TriggerAnswer
{
    std::string verdict; ///< "0", "1", "255" (not supported) or empty (unknown)
    int result;          ///< for the device service: 0 if the query is settled negatively, else 1
};

/// Judges a piece of response, given the verdict on the pieces before it. Pure. Throws
/// std::out_of_range for a response that is exactly "^RSTRIGGER".
TriggerAnswer judgeTriggerResponse(const std::string &response, const std::string &verdict);

} // namespace kestrun
