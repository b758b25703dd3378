// SPDX-License-Identifier: MIT
#pragma once

#include "Platform.h"
#include "plugin/ICollection.h"

#include <cstdint>

/// The report's values about the network. Every field is a text that is empty until it is read.
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

/// Returns the name of an access technology, given the device service's numbers, or an empty text
/// if they have none.
const char *accessTechnology(std::int32_t subMode, std::int32_t systemMode);

/// Returns the address for the report: the last one of the host's list, if it is IPv4 and not
/// loopback and at least one interface is up and running. Returns an empty text otherwise.
std::string reportedAddress(const QList<kestrun::InterfaceState> &interfaces,
                            const QList<QHostAddress> &addresses);

/// Collects registration, operator and access technology from the device service, and the host's
/// address from the system.
///
/// Each getter writes one field, blocks until the device service has answered and never throws.
/// After a failure the field is empty. The registration getters leave the card's report mode at 2.
/// For one thread at a time, see ICollection.
class CNetworkInfo : public ICollection
{
public:
    CNetworkInfo() = default;

    /// Calls the getters, then publishes the nine "Network_" entries. Cell and area come from the
    /// packet-switched registration on LTE, and otherwise from the circuit-switched one.
    void SetData(std::map<std::string, std::string> &data) override;

    /// Always returns an empty map: the values go into the map that SetData() is given.
    std::map<std::string, std::string> GetData() override;

    virtual ~CNetworkInfo() = default;

    void GetAcT(_NETWORK_INFO &rec);
    void GetLac(_NETWORK_INFO &rec);
    void GetCellID(_NETWORK_INFO &rec);
    void GetLTELac(_NETWORK_INFO &rec);

    /// The field stays empty if the card's report mode is already 2.
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
