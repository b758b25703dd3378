// SPDX-License-Identifier: MIT
#pragma once

#include "CallJournal.h"
#include "CallObserver.h"
#include "CardBackend.h"

#include "devsrv/DeviceServiceControl.h"

#include <functional>
#include <future>
#include <map>
#include <mutex>
#include <vector>

namespace devsrv {

/// Writes every call of the C boundary to a journal, and makes calls fail, last long or raise
/// events before they return.
///
/// Thread-safe. Events are raised with no lock held. The journal must outlive the object. The
/// destructor waits for the threads on which events are raised.
class FaultInjector : public CallObserver
{
public:
    /// `removeCard` removes the card for DEVSRV_FAULT_REMOVE_CARD.
    FaultInjector(CallJournal &journal, EventSink raise, std::function<void()> removeCard);
    ~FaultInjector() override;

    /// Replaces all faults by these results and delays (milliseconds), by function name.
    void reset(const std::map<std::string, std::int32_t> &results,
               const std::map<std::string, std::int32_t> &delaysMs);

    /// Replaces the fault of one function.
    void set(const std::string &function, const DevSrvFault &fault);

    CallOutcome enter(std::string_view function, std::string_view arguments) override;

private:
    DevSrvFault faultOf(std::string_view function) const;
    void raiseEvents(const DevSrvFault &fault);

    CallJournal &m_journal;
    const EventSink m_raise;
    const std::function<void()> m_removeCard;
    mutable std::mutex m_mutex;
    std::map<std::string, DevSrvFault, std::less<>> m_faults;
    std::vector<std::future<void>> m_threads;
};

} // namespace devsrv
