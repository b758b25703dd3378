// SPDX-License-Identifier: MIT
#pragma once

class CCollectionDataLogic;

namespace kestrun {

/// Keeps a controller from being deleted while a call uses it. Thread-safe.
class ControllerUse
{
public:
    /// Uses the present controller, if there is one.
    ControllerUse();

    explicit ControllerUse(CCollectionDataLogic *controller);

    /// Deletes the controller if this is the last use of one that was destroyed meanwhile.
    ~ControllerUse();

    ControllerUse(const ControllerUse &) = delete;
    ControllerUse &operator=(const ControllerUse &) = delete;

    /// Returns null if there is no controller.
    CCollectionDataLogic *controller() const { return m_controller; }

    /// Returns the present controller. Creates it if there is none.
    static CCollectionDataLogic *instance();

    /// Deletes the present controller when its uses on other threads have ended. Inside a use of
    /// this thread it leaves that to the last use.
    static void destroyInstance();

private:
    void begin(CCollectionDataLogic *controller);

    CCollectionDataLogic *m_controller = nullptr;
};

} // namespace kestrun
