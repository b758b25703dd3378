// SPDX-License-Identifier: MIT
#pragma once

namespace devsrv {

/// A value that a modem file may describe.
struct ModemField
{
    const char *name;
    const char *help;
};

/// The fields of a modem file.
inline constexpr ModemField kModemFields[] = {
    {"IMEI", "the identity of the equipment"},
    {"IMSI", "the identity of the SIM"},
    {"SN", "the serial number"},
    {"ESN", "the electronic serial number of a CDMA card"},
    {"MEID", "the equipment identity of a CDMA card"},
    {"Model", "the model"},
    {"Fver", "the firmware version"},
    {"Hver", "the hardware version"},
    {"MSISDN", "the number of the subscriber"},
};

} // namespace devsrv
