// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <optional>

namespace devsrv {

// Every backend uses the numbers of the ModemManager daemon, under the names of its documentation,
// so that a card has the same lock state on each way to reach it.

/// The code that a card waits for.
enum MMModemLock : unsigned {
    MM_MODEM_LOCK_UNKNOWN = 0,
    MM_MODEM_LOCK_NONE = 1,
    MM_MODEM_LOCK_SIM_PIN = 2,
    MM_MODEM_LOCK_SIM_PIN2 = 3,
    MM_MODEM_LOCK_SIM_PUK = 4,
    MM_MODEM_LOCK_SIM_PUK2 = 5,
    MM_MODEM_LOCK_PH_SP_PIN = 6,
    MM_MODEM_LOCK_PH_SP_PUK = 7,
    MM_MODEM_LOCK_PH_NET_PIN = 8,
    MM_MODEM_LOCK_PH_NET_PUK = 9,
    MM_MODEM_LOCK_PH_SIM_PIN = 10,
    MM_MODEM_LOCK_PH_CORP_PIN = 11,
    MM_MODEM_LOCK_PH_CORP_PUK = 12,
    MM_MODEM_LOCK_PH_FSIM_PIN = 13,
    MM_MODEM_LOCK_PH_FSIM_PUK = 14,
    MM_MODEM_LOCK_PH_NETSUB_PIN = 15,
    MM_MODEM_LOCK_PH_NETSUB_PUK = 16,
};

/// Flags of the locks that are enabled.
enum MMModem3gppFacility : unsigned {
    MM_MODEM_3GPP_FACILITY_SIM = 1U << 0,
    MM_MODEM_3GPP_FACILITY_PH_SIM = 1U << 2,
    MM_MODEM_3GPP_FACILITY_PH_FSIM = 1U << 3,
    MM_MODEM_3GPP_FACILITY_NET_PERS = 1U << 4,
    MM_MODEM_3GPP_FACILITY_NET_SUB_PERS = 1U << 5,
    MM_MODEM_3GPP_FACILITY_PROVIDER_PERS = 1U << 6,
    MM_MODEM_3GPP_FACILITY_CORP_PERS = 1U << 7,
};

/// A facility that binds a card to a network or a SIM.
struct LockFacility
{
    MMModem3gppFacility flag;
    const char *name; ///< in AT+CLCK
    MMModemLock lock; ///< the lock whose code the card would ask for
};

/// The facilities in the order in which they count. A PIN that was entered binds nothing.
inline constexpr LockFacility kLockFacilities[] = {
    {MM_MODEM_3GPP_FACILITY_NET_PERS, "PN", MM_MODEM_LOCK_PH_NET_PIN},
    {MM_MODEM_3GPP_FACILITY_NET_SUB_PERS, "PU", MM_MODEM_LOCK_PH_NETSUB_PIN},
    {MM_MODEM_3GPP_FACILITY_PROVIDER_PERS, "PP", MM_MODEM_LOCK_PH_SP_PIN},
    {MM_MODEM_3GPP_FACILITY_CORP_PERS, "PC", MM_MODEM_LOCK_PH_CORP_PIN},
    {MM_MODEM_3GPP_FACILITY_PH_SIM, "PS", MM_MODEM_LOCK_PH_SIM_PIN},
    {MM_MODEM_3GPP_FACILITY_PH_FSIM, "PF", MM_MODEM_LOCK_PH_FSIM_PIN},
};

/// Whether the card waits for a code, of MMModemLock, before it can be used. The second PIN
/// protects some features of the SIM only.
constexpr bool waitsForCode(unsigned lock)
{
    return lock > MM_MODEM_LOCK_NONE && lock != MM_MODEM_LOCK_SIM_PIN2
        && lock != MM_MODEM_LOCK_SIM_PUK2;
}

/// The lock whose code the card waits for, else the first lock that binds it to a network or SIM
/// (both of MMModemLock), else 0. Nothing while the lock is unknown.
constexpr std::optional<std::uint8_t> lockStateOf(unsigned required, unsigned enabledFacilities)
{
    if (required == MM_MODEM_LOCK_UNKNOWN)
        return std::nullopt;
    if (waitsForCode(required))
        return static_cast<std::uint8_t>(required);
    for (const LockFacility &facility : kLockFacilities) {
        if (enabledFacilities & facility.flag)
            return static_cast<std::uint8_t>(facility.lock);
    }
    return 0;
}

} // namespace devsrv
