// SPDX-License-Identifier: MIT
#pragma once

#include "devsrv/DeviceServiceControl.h"

#include <QDir>
#include <QList>

#include <utility>

/// The device-service library, loaded before the plug-in as a dashboard does it.
///
/// One object at a time, on the main thread; the library stays loaded.
class DeviceServiceLibrary
{
public:
    /// Loads `file`, or if that is empty the library beside `plugin`, or else the one that the
    /// system finds. Throws Failure.
    DeviceServiceLibrary(const QString &file, const QString &plugin);

    /// Starts a card: a shipped one, a card file, or a backend with its argument. Throws Failure,
    /// also if the library is a maker's and has no control interface.
    void start(const QString &card);

    /// The backends that the library knows; none if it is older than 1.1. Throws Failure for a
    /// maker's library.
    QList<DevSrvBackend> backends() const;

    /// The devices that a backend can use: what start() takes, and a description. Leaves one
    /// sentence in `why` if there may be more. Throws Failure for a maker's library.
    QList<std::pair<QString, QString>> devices(const char *backend, QString &why) const;

    /// Puts another emulated card in: a shipped one, or a card file, whose name counts from the
    /// directory that the host was started in ("./lte" where it is that of a shipped one). 0, or
    /// not, with the reason in the control interface's lastError(). Throws Failure for a maker's
    /// library.
    std::int32_t loadCard(const QString &card);

    /// Ends the service if it was started.
    void stop();

    /// Null for a maker's library.
    const DeviceServiceControl *control() const { return m_control; }

    /// The control interface; throws Failure for a maker's library.
    const DeviceServiceControl &requireControl() const;

    static QString fileName();

private:
    const QDir m_directory = QDir::current();
    QString m_file;
    const DeviceServiceControl *m_control = nullptr;
};
