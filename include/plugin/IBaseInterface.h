// SPDX-License-Identifier: MIT
#pragma once

/// The base of the interfaces through which a dashboard calls an object.
///
/// Dashboards call the virtual functions of all interfaces in this folder by their position, so
/// that their order never changes. All calls are made on the host's thread.
class IBaseInterface
{
public:
    virtual ~IBaseInterface() = default;

    /// Asks the object to release its resources. The object may ignore the request.
    virtual void Release() = 0;

    /// Returns the object's last error, or 0 if there was none.
    virtual int GetLastError() = 0;
};
