// SPDX-License-Identifier: MIT
#pragma once

#include <string>

namespace kestrun {

/// The command that asks the card for its SMS-trigger setting.
inline constexpr char kTriggerCommand[] = "AT^RSTRIGGER?\r";

/// The state of the query after one piece of the response to kTriggerCommand.
struct TriggerAnswer
{
    std::string verdict; ///< "0", "1", "255" (not supported) or empty (unknown)
    int result;          ///< for the device service: 0 after a negative result, else 1
};

/// Evaluates one piece of the response, given the verdict on the earlier pieces. Pure. Throws
/// std::out_of_range for a response that is exactly "^RSTRIGGER".
TriggerAnswer judgeTriggerResponse(const std::string &response, const std::string &verdict);

} // namespace kestrun
