// SPDX-License-Identifier: MIT
#pragma once

#include "Platform.h"
#include "plugin/ICollection.h"

#include <cstdint>

/// What the report says of the network. Every field is text and empty until it has been read.
struct _NETWORK_INFO
{
    std::string strAct;    ///< access technology, e.g. "LTE", "HSPA-PLU"
    std::string strPlmn;   ///< MCC and MNC, as the device service writes them
    std::string strLac;    ///< location or tracking area code, as the device service writes it
    std::string strCellID; ///< cell identity, as the device service writes it
    std::string strSID;
    std::string strNID;
    std::string strIPAddr; ///< the host's IPv4 address, dotted decimal
    std::string strLongitude;
    std::string strLatitude;
};

/// The name of an access technology by the device service's numbers; empty for those without one.
const char *accessTechnology(std::int32_t subMode, std::int32_t systemMode);

/// The address that the report carries: the last one of the host-wide list if that is IPv4 and not
/// loopback and any interface is up and running, else nothing.
std::string reportedAddress(const QList<kestrun::InterfaceState> &interfaces,
                            const QList<QHostAddress> &addresses);

/// Collects registration, operator and access technology from the device service, and the host's
/// address from the system.
///
/// A getter writes its one field, blocks for as long as the device service takes, never throws and
/// turns a failure into an empty field. The registration getters leave the card's report mode at 2.
/// One thread at a time, see ICollection.
class CNetworkInfo : public ICollection
{
public:
    CNetworkInfo() = default;

    /// Calls the getters, on LTE the packet-switched pair for cell and area, else the
    /// circuit-switched one; then publishes the nine "Network_" entries.
    void SetData(std::map<std::string, std::string> &data) override;

    /// Always empty: values go into the map given to SetData().
    std::map<std::string, std::string> GetData() override;

    virtual ~CNetworkInfo() = default;

    void GetAcT(_NETWORK_INFO &rec);
    void GetLac(_NETWORK_INFO &rec);
    void GetCellID(_NETWORK_INFO &rec);
    void GetLTELac(_NETWORK_INFO &rec);

    /// Stays empty when the card's report mode is 2 already.
    void GetLTECellID(_NETWORK_INFO &rec);

    void GetPLMN(_NETWORK_INFO &rec);
    void GetSID(_NETWORK_INFO &rec);
    void GetNID(_NETWORK_INFO &rec);
    void GetLongitude(_NETWORK_INFO &rec);
    void GetLatitude(_NETWORK_INFO &rec);
    void GetIPAddr(_NETWORK_INFO &rec);

private:
    _NETWORK_INFO m_info;
    std::map<std::string, std::string> m_data;
};
