// SPDX-License-Identifier: MIT
#include "ControllerUse.h"

#include "ControllerState.h"
#include "kestrun/CollectionDataLogic.h"

#include <algorithm>
#include <condition_variable>
#include <mutex>
#include <thread>

namespace kestrun {

namespace {

std::mutex s_mutex;
std::condition_variable s_unused;

auto useOfThisThread(ControllerState &state)
{
    return std::find(state.users.begin(), state.users.end(), std::this_thread::get_id());
}

} // namespace

ControllerUse::ControllerUse()
{
    const std::lock_guard lock(s_mutex);
    begin(CCollectionDataLogic::_Instance);
}

ControllerUse::ControllerUse(CCollectionDataLogic *controller)
{
    const std::lock_guard lock(s_mutex);
    begin(controller);
}

ControllerUse::~ControllerUse()
{
    if (!m_controller)
        return;
    std::unique_lock lock(s_mutex);
    ControllerState &state = *m_controller->m_state;
    state.users.erase(useOfThisThread(state));
    const bool last = state.destroyed && state.users.empty();
    s_unused.notify_all();
    lock.unlock();
    if (last)
        delete m_controller;
}

CCollectionDataLogic *ControllerUse::instance()
{
    const std::lock_guard lock(s_mutex);
    if (!CCollectionDataLogic::_Instance)
        CCollectionDataLogic::_Instance = new CCollectionDataLogic;
    return CCollectionDataLogic::_Instance;
}

void ControllerUse::destroyInstance()
{
    std::unique_lock lock(s_mutex);
    CCollectionDataLogic *const controller = CCollectionDataLogic::_Instance.exchange(nullptr);
    if (!controller)
        return;
    ControllerState &state = *controller->m_state;
    state.destroyed = useOfThisThread(state) != state.users.end();
    if (state.destroyed)
        return;
    s_unused.wait(lock, [&] { return state.users.empty(); });
    lock.unlock();
    delete controller;
}

void ControllerUse::begin(CCollectionDataLogic *controller)
{
    if (controller)
        controller->m_state->users.push_back(std::this_thread::get_id());
    m_controller = controller;
}

} // namespace kestrun
