// SPDX-License-Identifier: MIT
#pragma once

namespace shared {

/// Registration with a network, by the numbers of the state in AT+CREG (3GPP TS 27.007).
enum RegistrationState {
    kNotRegistered = 0,
    kHome = 1,
    kSearching = 2,
    kDenied = 3,
    kRegistrationUnknown = 4,
    kRoaming = 5,
    kHomeForSms = 6,
    kRoamingForSms = 7,
    kEmergencyOnly = 8,
    kHomeFallbackNotPreferred = 9, ///< the fallback to circuit-switched calls
    kRoamingFallbackNotPreferred = 10,
};
inline constexpr int kRegistrationStates = 11;

/// Whether a state has a network for more than emergency calls.
constexpr bool isRegistered(int state)
{
    switch (state) {
    case kHome:
    case kRoaming:
    case kHomeForSms:
    case kRoamingForSms:
    case kHomeFallbackNotPreferred:
    case kRoamingFallbackNotPreferred:
        return true;
    default:
        return false;
    }
}

} // namespace shared
