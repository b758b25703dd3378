// SPDX-License-Identifier: MIT
#pragma once

#include "devsrv/DeviceService.h"
#include "plugin/ICollection.h"

/// What the report says of the data card. Every field is text and empty until it has been read.
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
/// A getter writes its one field, blocks for as long as the device service takes, never throws and
/// turns a failure into an empty field (GetSimlockState() excepted). Nothing is cached: two getters
/// that need the same record each ask for it. One thread at a time, see ICollection.
class CDataCardInfo : public ICollection
{
public:
    CDataCardInfo() = default;

    /// Calls all getters, then publishes the fifteen "Device_" entries. The IMEI of a CDMA card is
    /// published empty.
    void SetData(std::map<std::string, std::string> &data) override;

    /// Always empty: values go into the map given to SetData().
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

    /// Publishes "0" when the device service cannot tell.
    void GetSimlockState(_DEVICE_INFO &rec);

    /// Asks the card over the AT channel; one exchange at a time in the process. Keeps the field
    /// as it was when the channel cannot be had.
    void GetSmsTrigger(_DEVICE_INFO &rec);

    /// From "SysConfig.dat" in the host's working directory.
    void GetDeviceDverPC(_DEVICE_INFO &rec);

    /// From the CD volume whose mount path the port-detect startup item has stored, or else the
    /// dashboard's autorun configuration.
    void GetDeviceDverCD(_DEVICE_INFO &rec);

    /// Takes one piece of the answer to GetSmsTrigger()'s command, on any thread. `data` is text
    /// up to its NUL, or null; `length` is not looked at. Returns 0 if the piece settles the query
    /// negatively, else 1. Never throws.
    static int RecDataFunc(void *data, int length);

private:
    std::map<std::string, std::string> m_data;
    _DEVICE_INFO m_info;
    ZEPA_DataRevCallback m_pfnDataRev = nullptr;
};
