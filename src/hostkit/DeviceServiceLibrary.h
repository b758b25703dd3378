// SPDX-License-Identifier: MIT
#pragma once

#include "devsrv/DeviceServiceControl.h"

#include <QDir>
#include <QHash>
#include <QLibrary>
#include <QList>

#include <utility>

class CallTrace;

/// The device-service library, which is loaded before the plug-in, as in a dashboard.
///
/// There is one object at a time, on the thread of the Dashboard. The library stays loaded when it
/// ends.
class DeviceServiceLibrary
{
public:
    /// Returns `file`. If that is empty, returns the library beside `plugin`, or else the name of
    /// the library, which the system then finds.
    static QString find(const QString &file, const QString &plugin);

    /// Loads the library that find() returned. With `trace`, the plug-in that is loaded next makes
    /// its calls through it; `file` is then that of requireLoadingReturns(). Throws Failure.
    explicit DeviceServiceLibrary(const QString &file, CallTrace *trace = nullptr);

    /// Returns the absolute path of the loaded library.
    QString loadedFile() const;

    const QString &file() const { return m_file; }

    /// Calls a function of DeviceService.h by its name and returns its result. Any thread.
    template <typename Function, typename... Arguments>
    std::int32_t call(const char *name, Arguments... arguments) const
    {
        return reinterpret_cast<Function *>(m_functions.value(name))(arguments...);
    }

    /// Starts a card: a shipped one, a card file, or a backend with its argument. A relative path
    /// starts at the directory in which the host was started; "./lte" is a file even though a
    /// shipped card has that name. Throws Failure, also for a maker's library, which has no control
    /// interface.
    void start(const QString &card);

    /// Returns one line that names the card, or the file of a library that cannot name it.
    QString source() const;

    /// Returns the names of the shipped cards and of the backends. Throws Failure for a maker's
    /// library.
    QStringList cardNames() const;

    /// Returns the backends of the library; a library older than 1.1 lists none. Throws Failure
    /// for a maker's library.
    QList<DevSrvBackend> backends() const;

    /// Returns the devices that a backend can use: the argument of start() and a description. If
    /// the list may be incomplete, `why` becomes one sentence with the reason. Throws Failure for
    /// a maker's library.
    QList<std::pair<QString, QString>> devices(const char *backend, QString &why) const;

    /// Loads another emulated card: a shipped one or a card file, as start() takes it. Returns 0 on
    /// success; otherwise lastError() of the control interface has the reason. Throws Failure for a
    /// maker's library. Any thread.
    std::int32_t loadCard(const QString &card);

    /// Ends the active backend.
    void stop();

    /// Returns the control interface, or null for a maker's library.
    const DeviceServiceControl *control() const { return m_control; }

    /// Returns the control interface. Throws Failure for a maker's library.
    const DeviceServiceControl &requireControl() const;

    static QString fileName();

private:
    QString fileOrName(const QString &card) const;
    void requireSoname() const;
    void resolveFunctions(QLibrary &library);

    const QDir m_directory = QDir::current();
    const QString m_file;
    QHash<QByteArray, QFunctionPointer> m_functions;
    const DeviceServiceControl *m_control = nullptr;
};
