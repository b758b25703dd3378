// SPDX-License-Identifier: MIT
#pragma once

#include "DeviceServiceLibrary.h"
#include "PluginLibrary.h"

#include <QPointer>

#include <memory>

/// What the user chose for a run.
struct HostOptions
{
    QString plugin; ///< file
    QString sdk;    ///< file; empty: the one beside the plug-in
    QString card;   ///< as DeviceServiceLibrary::start() takes it; empty: the service's own choice
    QString root;   ///< directory in whose place "/" and the working directory stand; empty: none
    bool log = false;
};

/// A dashboard, as far as the plug-in can tell: brings the device service up, loads the plug-in,
/// initialises it, and ends all that in the right order.
///
/// On the main thread.
class Dashboard
{
public:
    /// Loads device service and plug-in and prepares the root. Throws Failure.
    explicit Dashboard(const HostOptions &options);

    /// Shuts down if that has not been done.
    ~Dashboard();

    /// Creates the plug-in's object and initialises it: the first report is written. Throws
    /// Failure.
    void init();

    /// `OnDestroy()`, deletes the object, `Destroy()`, stops the device service, in this order.
    void shutDown();

    /// Sends the plug-in a message.
    int notify(unsigned int message, unsigned int param1, unsigned int param2);

    /// Both texts are Latin-1. Returns whether the device service took the message.
    bool sendSms(const std::string &number, const std::string &text);

    /// Returns whether the device service took the setting.
    bool setReceipts(bool enable);

    PluginLibrary &plugin() { return m_plugin; }
    DeviceServiceLibrary &deviceService() { return m_deviceService; }
    QString reportFile() const
    {
        return m_plugin.dataDirectory() + QStringLiteral("UpdateRule.dat");
    }
    QString configFile() const { return m_plugin.dataDirectory() + QStringLiteral("Config.xml"); }

private:
    const HostOptions m_options;
    PluginLibrary m_plugin;
    DeviceServiceLibrary m_deviceService;
    QPointer<QObject> m_object;
    PluginLibrary::Object m_interfaces{};
};
