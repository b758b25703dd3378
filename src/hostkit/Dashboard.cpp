// SPDX-License-Identifier: MIT
#include "Dashboard.h"

#include "Failure.h"
#include "LoadCheck.h"
#include "PluginOutput.h"
#include "TrialRoot.h"

#include <QDir>
#include <QFileInfo>

namespace {

// Makes the paths absolute, because the working directory changes later.
HostOptions resolved(HostOptions options)
{
    options.plugin = QFileInfo(options.plugin).absoluteFilePath();
    options.sdk = DeviceServiceLibrary::find(options.sdk, options.plugin);
    if (!options.root.isEmpty())
        options.root = QFileInfo(options.root).absoluteFilePath();
    return options;
}

HostOptions checked(HostOptions options)
{
    // The calls are traced by a library that opens the device service by its path.
    const bool needsPath = options.trace && !options.sdk.contains(QLatin1Char('/'));
    if (options.tried || needsPath)
        options.sdk = requireLoadingReturns(options.sdk, options.plugin);
    return options;
}

} // namespace

Dashboard::Dashboard(const HostOptions &options)
    : m_options(checked(resolved(options))), m_plugin(m_options.plugin),
      m_deviceService(m_options.sdk, m_options.trace)
{
    m_plugin.load();
    if (!m_options.card.isEmpty())
        m_deviceService.start(m_options.card);
    if (m_options.root.isEmpty())
        return;
    m_plugin.setSystemRoot(m_options.root);
    const TrialRoot root(m_options.root);
    const bool firstUse = root.isNew();
    if (firstUse)
        root.prepareSettings();
    if (!QDir::setCurrent(m_options.root)) {
        failRun(QStringLiteral("%1 cannot be entered: %2; grant the right to enter it")
                    .arg(m_options.root, qt_error_string()));
    }
    // The plug-in takes the name of its directory from the settings in the working directory.
    if (firstUse && m_plugin.table())
        root.prepareDataDirectory(dataFile({}));
}

Dashboard::~Dashboard()
{
    shutDown();
}

void Dashboard::init()
{
    const PluginOutput quiet(m_options.log);
    m_interfaces = m_plugin.instance();
    m_object = m_interfaces.object;
    if (!m_interfaces.base->Init())
        failRun(QStringLiteral("the plug-in could not start; --log shows its reasons"));
}

void Dashboard::shutDown()
{
    const PluginOutput quiet(m_options.log);
    if (m_object) {
        m_interfaces.base->OnDestroy();
        delete m_object.data();
    }
    if (m_plugin.table())
        m_plugin.table()->destroy();
    m_deviceService.stop();
}

int Dashboard::notify(unsigned int message, unsigned int param1, unsigned int param2)
{
    const PluginOutput quiet(m_options.log);
    return m_interfaces.notify->Notify(message, param1, param2);
}

QString Dashboard::dataFile(const QString &name) const
{
    return m_plugin.table() ? QString::fromUtf8(m_plugin.table()->dataDirectory()) + name
                            : QString();
}
