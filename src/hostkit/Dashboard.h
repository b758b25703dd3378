// SPDX-License-Identifier: MIT
#pragma once

#include "CallTrace.h"
#include "DeviceServiceLibrary.h"
#include "PluginLibrary.h"

#include <QPointer>

#include <memory>

/// The choices of the user for one run.
struct HostOptions
{
    QString plugin;     ///< file
    QString sdk;        ///< file; empty: that of DeviceServiceLibrary::find()
    bool tried = false; ///< loads both in a child process first, for files that may crash it
    QString card;       ///< argument of DeviceServiceLibrary::start(); empty: the service's default
    QString root; ///< directory used in place of "/" and of the working directory; empty: none
    bool log = false;
    CallTrace *trace = nullptr; ///< sees the calls of the plug-in; null: they are made directly
};

/// Plays the dashboard for the plug-in: starts the device service, loads and initialises the
/// plug-in, and shuts both down in the right order.
///
/// All calls are made on one thread, which may be another than the main thread. The functions with
/// a window of the plug-in's object are the exception: they belong to the thread of the window.
class Dashboard
{
public:
    /// Loads the device service and the plug-in, and prepares the root. Throws Failure.
    explicit Dashboard(const HostOptions &options);

    /// Shuts down unless shutDown() was called.
    ~Dashboard();

    /// Creates the plug-in's object and initialises it, which writes the first report. Throws
    /// Failure.
    void init();

    /// Calls `OnDestroy()`, deletes the object, deletes the controller and stops the device
    /// service, in this order. The controller of a plug-in without a table stays until the program
    /// ends.
    void shutDown();

    /// Sends the plug-in a message and returns its answer.
    int notify(unsigned int message, unsigned int param1, unsigned int param2);

    /// Returns the plug-in's interface with a window; null before init() and after shutDown().
    IUIPlugin *window() const { return m_object ? m_interfaces.window : nullptr; }

    PluginLibrary &plugin() { return m_plugin; }
    DeviceServiceLibrary &deviceService() { return m_deviceService; }

    /// Returns the absolute path of the directory that is used in place of "/"; empty: none is.
    const QString &root() const { return m_options.root; }

    /// Returns the path of the file, or an empty text if the plug-in has no table to ask.
    QString reportFile() const { return dataFile(QStringLiteral("UpdateRule.dat")); }
    QString configFile() const { return dataFile(QStringLiteral("Config.xml")); }

private:
    QString dataFile(const QString &name) const;

    const HostOptions m_options;
    PluginLibrary m_plugin;
    DeviceServiceLibrary m_deviceService;
    QPointer<QObject> m_object;
    PluginLibrary::Object m_interfaces{};
};
