// SPDX-License-Identifier: MIT
#pragma once

#include "DataCardInfo.h"
#include "HostPcInfo.h"
#include "NetworkInfo.h"

#include <atomic>
#include <cstdint>
#include <map>
#include <string>
#include <thread>
#include <vector>

namespace kestrun {

/// The controller's data.
struct ControllerState
{
    std::map<std::string, std::string> data;
    CDataCardInfo dataCard;
    CHostPcInfo hostPc;
    CNetworkInfo network;

    std::atomic<std::uint64_t> requestedReports = 0;
    std::atomic<std::uint64_t> writtenReports = 0; ///< requests that the latest report covers

    /// The calls on the controller, by thread, and whether the last of them deletes it. Both are
    /// under the lock of ControllerUse.
    std::vector<std::thread::id> users;
    bool destroyed = false;

    /// Writes both files, and notes which requests they cover. One thread at a time.
    void runReport();

private:
    void writeReportAndConfig();
};

} // namespace kestrun
