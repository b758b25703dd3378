// SPDX-License-Identifier: MIT
#pragma once

/// The calls that a plug-in receives before a dashboard deletes it.
class IDestroyEvent
{
public:
    virtual ~IDestroyEvent() = default;

    /// Called when the dashboard is about to delete the plug-in, which must not receive an event
    /// after this call.
    virtual void OnDestroy() = 0;

    /// Asks the plug-in to withdraw its registrations with the device service.
    virtual void UnSDKRegisterEvent() = 0;
};
