// SPDX-License-Identifier: MIT
#pragma once

#include "IBaseInterface.h"
#include "IDestroyEvent.h"

#include <QObject>
#include <QString>

/// The interface of every plug-in: start-up and identity.
class IBasePlugin : public IBaseInterface, public IDestroyEvent
{
public:
    /// Starts the plug-in. The dashboard calls it before Notify(), before OnDestroy() and before it
    /// deletes the object. Returns false if the plug-in could not start.
    virtual bool Init() = 0;

    /// Returns the kind of plug-in, a number that the dashboard defines.
    virtual int GetPluginType() = 0;

    /// Returns the plug-in's class identifier, a UUID without braces.
    virtual QString GetCLSID() = 0;

    /// Returns the plug-in's version, a number that the dashboard defines.
    virtual int GetVersion() = 0;

    /// Returns the plug-in's name, for display.
    virtual QString GetPluginName() = 0;

    /// Returns true if the dashboard may unload the library.
    virtual bool IsAllowRelease() = 0;

    /// Requests a further object by its number. Stores it in `out`; the plug-in keeps ownership. A
    /// plug-in without such an object does not change `out`.
    virtual int QueryInterface(int id, QObject **out) = 0;
};

Q_DECLARE_INTERFACE(IBasePlugin, "com.velmora.brisklane.plugin.IBasePlugin")
