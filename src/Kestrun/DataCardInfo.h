// SPDX-License-Identifier: MIT
#pragma once

#include "devsrv/DeviceService.h"
#include "plugin/ICollection.h"

/// The report's values about the data card. Every field is a text that is empty until it is read.
struct _DEVICE_INFO
{
    std::string strSN;
    std::string strIMEI;
    std::string strESN;
    std::string strMEID;
    std::string strModel;
    std::string strClassify;      ///< always "DataCard"
    std::string strProductFamily; ///< "WCDMA", "CDMA", "TD_SCDMA" or empty
    std::string strDverPc;        ///< version of the dashboard on the computer
    std::string strDverCD;        ///< version of the dashboard on the card's CD volume
    std::string strFver;          ///< firmware version
    std::string strHver;          ///< hardware version
    std::string strMSISDN;
    std::string strSmsTrigger; ///< "0", "1", "255" (not supported) or empty
    std::string strIMSI;
    std::string strSimLock; ///< the device service's lock state, decimal; "0" if unknown
};

/// Collects identity and state of the data card from the device service.
///
/// Each getter writes one field, blocks until the device service has answered and never throws.
/// After a failure the field is empty, except for GetSimlockState(). Nothing is cached: two getters
/// that need the same record query it twice. For one thread at a time, see ICollection.
class CDataCardInfo : public ICollection
{
public:
    CDataCardInfo() = default;

    /// Calls all getters, then publishes the fifteen "Device_" entries. For a CDMA card the IMEI is
    /// published as an empty text.
    void SetData(std::map<std::string, std::string> &data) override;

    /// Always returns an empty map: the values go into the map that SetData() is given.
    std::map<std::string, std::string> GetData() override;

    virtual ~CDataCardInfo() = default;

    void GetSN(_DEVICE_INFO &rec);
    void GetIMEI(_DEVICE_INFO &rec);
    void GetIMSI(_DEVICE_INFO &rec);
    void GetESN(_DEVICE_INFO &rec);
    void GetMEID(_DEVICE_INFO &rec);
    void GetDeviceModel(_DEVICE_INFO &rec);
    void GetDeviceFver(_DEVICE_INFO &rec);
    void GetDeviceHver(_DEVICE_INFO &rec);
    void GetDeviceProductFamily(_DEVICE_INFO &rec);
    void GetDeviceClassify(_DEVICE_INFO &rec);

    /// The number of the first usable entry of the SIM's own-number phonebook.
    void GetMSISDN(_DEVICE_INFO &rec);

    /// The field is "0" if the device service does not know the state.
    void GetSimlockState(_DEVICE_INFO &rec);

    /// Queries the card over the AT channel, with one exchange at a time in the process. Leaves the
    /// field as it was if the channel is not available.
    void GetSmsTrigger(_DEVICE_INFO &rec);

    /// From "SysConfig.dat" in the host's working directory.
    void GetDeviceDverPC(_DEVICE_INFO &rec);

    /// From the CD volume. Its mount path is stored by the port-detect startup item or else by the
    /// dashboard's autorun configuration.
    void GetDeviceDverCD(_DEVICE_INFO &rec);

    /// Receives one piece of the answer to GetSmsTrigger()'s command, on any thread. `data` is a
    /// text that ends in a NUL, or null; `length` is ignored. Returns 0 if the piece ends the query
    /// with a negative result, else 1. Never throws.
    static int RecDataFunc(void *data, int length);

private:
    std::map<std::string, std::string> m_data;
    _DEVICE_INFO m_info;
    ZEPA_DataRevCallback m_pfnDataRev = nullptr;
};
