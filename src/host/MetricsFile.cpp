// SPDX-License-Identifier: MIT
#include "MetricsFile.h"

#include "Failure.h"
#include "Output.h"
#include "RegularFile.h"

#include <QFileInfo>

#include <chrono>

using namespace std::chrono_literals;

MetricsFile::MetricsFile(const QString &file, const QString &labels)
    : m_file(QFileInfo(file).absoluteFilePath()), m_metrics(labels)
{
    m_timer.setInterval(60s);
}

void MetricsFile::add(const HandledEvent &event)
{
    m_metrics.add(event);
    if (m_timer.isActive())
        write();
}

void MetricsFile::start(const DeviceServiceLibrary &service, const EventObserver &observer)
{
    m_error = replaceFile();
    if (!isCurrent())
        failRun(m_error);
    QObject::connect(&m_timer, &QTimer::timeout, [this, &service, &observer] {
        // A card maker's library may raise no events.
        const qint64 time = observer.elapsedUs();
        m_metrics.takeCard(presentable(askCard(service).fields), time);
        write();
    });
    m_timer.start();
}

void MetricsFile::write()
{
    const bool wasCurrent = isCurrent();
    m_error = replaceFile();
    if (wasCurrent && !isCurrent())
        printError(QStringLiteral("kestrun: ") + m_error);
}

// Returns one sentence with the reason if the file could not be replaced; the old one stays then.
QString MetricsFile::replaceFile() const
{
    constexpr auto kForEverybody = QFileDevice::ReadOwner | QFileDevice::WriteOwner
        | QFileDevice::ReadGroup | QFileDevice::ReadOther;
    const QString reason = ::replaceFile(m_file, m_metrics.text(), kForEverybody);
    if (reason.isEmpty())
        return {};
    return QStringLiteral("the metrics cannot be written to %1: %2; make room, grant the right, or "
                          "choose another place with --metrics FILE")
        .arg(m_file, reason);
}
