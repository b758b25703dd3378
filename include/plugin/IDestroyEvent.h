// SPDX-License-Identifier: MIT
#pragma once

/// What a dashboard tells a plug-in before it lets it go.
class IDestroyEvent
{
public:
    virtual ~IDestroyEvent() = default;

    /// The dashboard is about to delete the plug-in: no event may reach it after this call.
    virtual void OnDestroy() = 0;

    /// A request to withdraw what the plug-in has registered with the device service.
    virtual void UnSDKRegisterEvent() = 0;
};
