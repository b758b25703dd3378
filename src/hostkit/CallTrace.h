// SPDX-License-Identifier: MIT
#pragma once

#include "NamedValues.h"

#include <QByteArray>
#include <QMutex>

#include <functional>

/// One call of the plug-in to the device service.
struct TracedCall
{
    QByteArray function; ///< of DeviceService.h
    std::int32_t result;
    qint64 microseconds;
    NamedValues values; ///< what it wrote, by the fields of a card file; none if it failed
};

/// Sees each call of the plug-in to the device service, of whichever maker that is.
///
/// There is one object per process; it must live until the process ends or the plug-in makes no
/// more calls. Calls may come from any thread.
class CallTrace
{
public:
    using Listener = std::function<void(const TracedCall &)>;

    /// `listener` sees each call on its thread, before the call returns to the plug-in.
    explicit CallTrace(Listener listener = {}) : m_listener(std::move(listener)) {}

    /// Loads the library that takes the place of the device service. Called before the device
    /// service and the plug-in are loaded. Throws Failure.
    static void load();

    /// Has the calls go on to the device service in that file. Throws Failure.
    void connectTo(const QString &service);

    /// Returns the calls for the latest report for which the plug-in has asked all its questions.
    QList<TracedCall> reportCalls() const;

private:
    void add(const TracedCall &call);

    const Listener m_listener;
    mutable QMutex m_mutex;    // guards what follows; held while it is changed or copied
    QList<TracedCall> m_calls; // of the report under way; empty between reports
    QList<TracedCall> m_reported;
};
