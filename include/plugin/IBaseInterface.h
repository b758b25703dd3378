// SPDX-License-Identifier: MIT
#pragma once

/// What every object that a dashboard may hold answers.
///
/// The order of the virtual functions of all interfaces in this folder is the order of the slots
/// through which dashboards call them; it never changes. The calls come on the host's thread.
class IBaseInterface
{
public:
    virtual ~IBaseInterface() = default;

    /// Asks the object to give up what it holds. Whether it does so is the object's affair.
    virtual void Release() = 0;

    /// The object's last error, 0 for none.
    virtual int GetLastError() = 0;
};
