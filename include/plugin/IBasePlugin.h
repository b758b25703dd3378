// SPDX-License-Identifier: MIT
#pragma once

#include "IBaseInterface.h"
#include "IDestroyEvent.h"

#include <QObject>
#include <QString>

/// What a dashboard asks of any plug-in: to start, and who it is.
class IBasePlugin : public IBaseInterface, public IDestroyEvent
{
public:
    /// Starts the plug-in. Comes before Notify(), OnDestroy() and the deletion of the object.
    /// Returns false if the plug-in could not start.
    virtual bool Init() = 0;

    /// The kind of plug-in, a number of the dashboard's own.
    virtual int GetPluginType() = 0;

    /// The plug-in's class identifier, a UUID without braces.
    virtual QString GetCLSID() = 0;

    virtual int GetVersion() = 0;

    /// The plug-in's name, for people.
    virtual QString GetPluginName() = 0;

    /// Whether the dashboard may unload the library.
    virtual bool IsAllowRelease() = 0;

    /// Asks for a further object by number. `out` receives it and stays the plug-in's; a plug-in
    /// that has none leaves `out` as it is.
    virtual int QueryInterface(int id, QObject **out) = 0;
};

Q_DECLARE_INTERFACE(IBasePlugin, "com.velmora.brisklane.plugin.IBasePlugin")
