// SPDX-License-Identifier: MIT
#include "CallTrace.h"

#include "DeviceServiceLibrary.h"
#include "Failure.h"
#include "calltap/CallTap.h"

#include <QCoreApplication>
#include <QFile>
#include <QFileInfo>
#include <QLibrary>

#include <utility>

namespace {

// The plug-in's first and last question of a report. It asks the first one twice in a row.
constexpr char kFirstOfReport[] = "ZEPA_DevSrv_GetFirmwareVersion";
constexpr char kLastOfReport[] = "ZEPA_NetSrv_GetCurPlmn";

QString tapFile()
{
    const QString name = QStringLiteral("/kestrun-tap/") + DeviceServiceLibrary::fileName();
    const QString above = QCoreApplication::applicationDirPath() + QStringLiteral("/../");
    const QString installed = above + QStringLiteral(KESTRUN_LIBDIR) + name;
    return QDir::cleanPath(QFileInfo::exists(installed) ? installed
                                                        : above + QStringLiteral("lib") + name);
}

[[noreturn]] void fail(const QString &why)
{
    failRun(QStringLiteral("the calls of the plug-in cannot be seen: %1; install kestrun again")
                .arg(why));
}

} // namespace

void CallTrace::load()
{
    // The loader gives the plug-in the library of that soname that was loaded first.
    if (QLibrary tap(tapFile()); !tap.load())
        fail(tap.errorString());
}

void CallTrace::connectTo(const QString &service)
{
    const auto open = reinterpret_cast<CallTapOpenFunction>(
        QLibrary::resolve(tapFile(), "CallTap_Open"));
    if (!open)
        fail(QStringLiteral("%1 has no CallTap_Open").arg(tapFile()));
    const auto observe = [](const CallTapCall *call, void *context) {
        TracedCall traced{call->function, call->result, call->nanoseconds / 1000, {}};
        for (std::size_t index = 0; index < call->count; ++index) {
            const CallTapValue &value = call->values[index];
            traced.values.append(
                {QLatin1String(value.field),
                 QString::fromLatin1(value.text, static_cast<qsizetype>(value.size))});
        }
        static_cast<CallTrace *>(context)->add(traced);
    };
    if (const char *const why = open(QFile::encodeName(service).constData(), observe, this))
        fail(QString::fromLocal8Bit(why));
}

QList<TracedCall> CallTrace::reportCalls() const
{
    const QMutexLocker lock(&m_mutex);
    return m_reported;
}

void CallTrace::add(const TracedCall &call)
{
    {
        const QMutexLocker lock(&m_mutex);
        const bool first = call.function == kFirstOfReport;
        if (first && !m_calls.isEmpty() && m_calls.constLast().function != kFirstOfReport)
            m_calls.clear();
        if (first || !m_calls.isEmpty())
            m_calls.append(call);
        if (call.function == kLastOfReport)
            m_reported = std::exchange(m_calls, {});
    }
    if (m_listener)
        m_listener(call);
}
