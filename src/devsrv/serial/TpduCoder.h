// SPDX-License-Identifier: MIT
#pragma once

#include "CardBackend.h"

#include <cstdint>
#include <string>
#include <vector>

namespace devsrv {

/// One part of a message as the command for a message takes it.
struct Tpdu
{
    int octets = 0;  ///< without the number of the message centre
    std::string hex; ///< begins with an empty number of the centre, so that the SIM's is used
};

/// Codes a message as SMS-SUBMIT units: in the GSM 7-bit alphabet where the whole text fits into
/// it, else in UCS2; in several parts, which carry `reference`, where one is too short.
///
/// Pure. Returns no part and one sentence in `error` for a number that no card can dial, and for a
/// text that is too long or is no UTF-16.
std::vector<Tpdu> tpdusOf(const SmsMessage &message, std::uint8_t reference, std::string &error);

} // namespace devsrv
