// SPDX-License-Identifier: MIT
#pragma once

#include "SimLock.h"

namespace devsrv {

// The numbers of the daemon's D-Bus interface, under the names of its documentation.

/// Property `State` of a modem.
enum MMModemState : int {
    MM_MODEM_STATE_FAILED = -1,
    MM_MODEM_STATE_UNKNOWN = 0,
    MM_MODEM_STATE_INITIALIZING = 1,
    MM_MODEM_STATE_LOCKED = 2,
    MM_MODEM_STATE_DISABLED = 3,
    MM_MODEM_STATE_DISABLING = 4,
    MM_MODEM_STATE_ENABLING = 5,
    MM_MODEM_STATE_ENABLED = 6,
    MM_MODEM_STATE_SEARCHING = 7,
    MM_MODEM_STATE_REGISTERED = 8,
    MM_MODEM_STATE_DISCONNECTING = 9,
    MM_MODEM_STATE_CONNECTING = 10,
    MM_MODEM_STATE_CONNECTED = 11,
};

/// Flags of the property `AccessTechnologies` of a modem.
enum MMModemAccessTechnology : unsigned {
    MM_MODEM_ACCESS_TECHNOLOGY_GSM = 1U << 1,
    MM_MODEM_ACCESS_TECHNOLOGY_GSM_COMPACT = 1U << 2,
    MM_MODEM_ACCESS_TECHNOLOGY_GPRS = 1U << 3,
    MM_MODEM_ACCESS_TECHNOLOGY_EDGE = 1U << 4,
    MM_MODEM_ACCESS_TECHNOLOGY_UMTS = 1U << 5,
    MM_MODEM_ACCESS_TECHNOLOGY_HSDPA = 1U << 6,
    MM_MODEM_ACCESS_TECHNOLOGY_HSUPA = 1U << 7,
    MM_MODEM_ACCESS_TECHNOLOGY_HSPA = 1U << 8,
    MM_MODEM_ACCESS_TECHNOLOGY_HSPA_PLUS = 1U << 9,
    MM_MODEM_ACCESS_TECHNOLOGY_1XRTT = 1U << 10,
    MM_MODEM_ACCESS_TECHNOLOGY_EVDO0 = 1U << 11,
    MM_MODEM_ACCESS_TECHNOLOGY_EVDOA = 1U << 12,
    MM_MODEM_ACCESS_TECHNOLOGY_EVDOB = 1U << 13,
    MM_MODEM_ACCESS_TECHNOLOGY_LTE = 1U << 14,
    MM_MODEM_ACCESS_TECHNOLOGY_5GNR = 1U << 15,
    MM_MODEM_ACCESS_TECHNOLOGY_LTE_CAT_M = 1U << 16,
    MM_MODEM_ACCESS_TECHNOLOGY_LTE_NB_IOT = 1U << 17,
};

/// Flags of the property `CurrentCapabilities` of a modem.
enum MMModemCapability : unsigned {
    MM_MODEM_CAPABILITY_CDMA_EVDO = 1U << 1,
    MM_MODEM_CAPABILITY_GSM_UMTS = 1U << 2,
    MM_MODEM_CAPABILITY_LTE = 1U << 3,
    MM_MODEM_CAPABILITY_5GNR = 1U << 6,
    MM_MODEM_CAPABILITY_TDS = 1U << 7,
};

/// Property `EsimStatus` of a SIM.
enum MMSimEsimStatus : unsigned {
    MM_SIM_ESIM_STATUS_NO_PROFILES = 1,
};

/// Flags of the property `Enabled` of a modem's location interface.
enum MMModemLocationSource : unsigned {
    MM_MODEM_LOCATION_SOURCE_3GPP_LAC_CI = 1U << 0,
};

} // namespace devsrv
