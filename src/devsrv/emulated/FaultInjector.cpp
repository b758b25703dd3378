// SPDX-License-Identifier: MIT
#include "FaultInjector.h"

#include <QScopeGuard>

#include <chrono>
#include <thread>
#include <utility>

namespace devsrv {

namespace {

// True while this thread raises the event of a fault. Calls made by the listener then raise no
// further event: the recursion would not end.
thread_local bool t_raisingEvent = false;

TextFill fillOf(const DevSrvFault &fault)
{
    if (fault.flags & DEVSRV_FAULT_NO_TERMINATOR)
        return TextFill::NoTerminator;
    return fault.flags & DEVSRV_FAULT_HIGH_BYTES ? TextFill::HighBytes : TextFill::Whole;
}

} // namespace

FaultInjector::FaultInjector(CallJournal &journal, EventSink raise,
                             std::function<void()> removeCard)
    : m_journal(journal), m_raise(std::move(raise)), m_removeCard(std::move(removeCard))
{
}

FaultInjector::~FaultInjector() = default;

void FaultInjector::reset(const std::map<std::string, std::int32_t> &results,
                          const std::map<std::string, std::int32_t> &delaysMs)
{
    const std::lock_guard lock(m_mutex);
    m_faults.clear();
    for (const auto &[function, result] : results)
        m_faults[function].result = result;
    for (const auto &[function, delayMs] : delaysMs)
        m_faults[function].delayMs = delayMs;
}

void FaultInjector::set(const std::string &function, const DevSrvFault &fault)
{
    const std::lock_guard lock(m_mutex);
    m_faults[function] = fault;
}

DevSrvFault FaultInjector::faultOf(std::string_view function) const
{
    const std::lock_guard lock(m_mutex);
    const auto found = m_faults.find(function);
    return found == m_faults.end() ? DevSrvFault{} : found->second;
}

CallOutcome FaultInjector::enter(std::string_view function, std::string_view arguments)
{
    m_journal.write(std::string(function).append("(").append(arguments).append(")"));
    const DevSrvFault fault = faultOf(function);
    std::this_thread::sleep_for(std::chrono::milliseconds(fault.delayMs));
    raiseEvents(fault);
    return {fault.result, (fault.flags & DEVSRV_FAULT_WRITE_OUTPUTS) != 0, fillOf(fault)};
}

void FaultInjector::raiseEvents(const DevSrvFault &fault)
{
    if (t_raisingEvent)
        return;
    t_raisingEvent = true;
    const auto ended = qScopeGuard([] { t_raisingEvent = false; });
    if (fault.flags & DEVSRV_FAULT_REMOVE_CARD)
        m_removeCard();
    if (fault.event != 0 && (fault.flags & DEVSRV_FAULT_OTHER_THREAD)) {
        const std::lock_guard lock(m_mutex);
        std::erase_if(m_threads, [](const std::future<void> &thread) {
            return thread.wait_for(std::chrono::seconds(0)) == std::future_status::ready;
        });
        m_threads.push_back(std::async(std::launch::async, [this, event = fault.event] {
            t_raisingEvent = true;
            m_raise(event);
        }));
    } else if (fault.event != 0) {
        m_raise(fault.event);
    }
}

} // namespace devsrv
