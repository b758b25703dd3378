// SPDX-License-Identifier: MIT
#include "DeviceServiceLibrary.h"

#include "Failure.h"

#include <QFileInfo>
#include <QLibrary>

DeviceServiceLibrary::DeviceServiceLibrary(const QString &file, const QString &plugin)
    : m_file(file)
{
    if (m_file.isEmpty()) {
        const QString beside = QFileInfo(plugin).absolutePath() + QLatin1Char('/') + fileName();
        m_file = QFileInfo::exists(beside) ? beside : fileName();
    }
    QLibrary library(m_file);
    if (!library.load()) {
        failRun(QStringLiteral("the device-service library cannot be loaded: %1; put %2 beside the "
                               "plug-in, or name it with --sdk FILE")
                    .arg(library.errorString(), fileName()));
    }
    if (const auto getControl = reinterpret_cast<DevSrvGetControlFunction>(
            library.resolve("DevSrv_GetControl")))
        m_control = getControl();
}

void DeviceServiceLibrary::start(const QString &card)
{
    const DeviceServiceControl &control = requireControl();
    const bool onDaemon = card.section(QLatin1Char(':'), 0, 0) == QLatin1String("modemmanager");
    const char *const emulated = "emulated";
    const QByteArray name = card.toUtf8();
    if (control.start(onDaemon ? name.constData() : emulated) != 0
        || (!onDaemon && control.loadCard(name.constData()) != 0))
        failRun(QString::fromUtf8(control.lastError()));
}

void DeviceServiceLibrary::stop()
{
    if (m_control)
        m_control->stop();
}

const DeviceServiceControl &DeviceServiceLibrary::requireControl() const
{
    if (!m_control) {
        failRun(QStringLiteral("%1 is not this project's device service: cards cannot be chosen or "
                               "changed; leave out --card, or name another library with --sdk FILE")
                    .arg(m_file));
    }
    return *m_control;
}

QString DeviceServiceLibrary::fileName()
{
#if defined(Q_OS_MACOS)
    return QStringLiteral("libsdk.1.dylib");
#else
    return QStringLiteral("libsdk.so.1");
#endif
}
