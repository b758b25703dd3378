// SPDX-License-Identifier: MIT
#pragma once

#include "BackendOptions.h"
#include "CallObserver.h"
#include "CardBackend.h"

#include "devsrv/DeviceServiceControl.h"

#include <functional>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace devsrv {

/// A backend with its observer. Both are null if the backend could not be made.
struct Backend
{
    std::shared_ptr<CardBackend> card;
    std::shared_ptr<CallObserver> observer; ///< may be null
};

/// The text after the colon of "NAME:ARGUMENT?OPTIONS"; none for "NAME" and "NAME?OPTIONS".
using BackendArgument = std::optional<std::string>;

/// Makes the active backend release its device.
using FreeDevices = std::function<void()>;

/// Makes a backend. Returns no backend and one sentence in `error` if it cannot run. Calls
/// `freeDevices` before it looks for its device, when nothing is wrong with argument and options.
using BackendFactory = Backend(const BackendArgument &argument, const BackendOptions &options,
                               EventSink raise, std::string &error, const FreeDevices &freeDevices);

/// A device that a backend can use.
struct BackendDevice
{
    std::string argument;    ///< as the backend's factory takes it
    std::string description; ///< one line, UTF-8
};

/// Lists the devices that a backend can use, in a few seconds at most. Changes nothing on them.
/// Leaves one sentence in `error` if there may be more.
using BackendDeviceList = std::vector<BackendDevice>(std::string &error);

/// One row of the registry.
struct BackendEntry
{
    DevSrvBackend facts;      ///< for hosts
    BackendFactory *make;     ///< null if the backend is not built
    std::string_view options; ///< the keys of its options, separated by blanks
    BackendDeviceList *list;  ///< null if the backend is not built or has nothing to list
    bool needsApplication;    ///< it has a thread with an event loop
};

/// The backends, the default one first.
std::span<const BackendEntry> backendEntries();

/// The row of that name; null if there is none.
const BackendEntry *findBackend(std::string_view name);

/// Makes the backend that `choice` names: "NAME" or "NAME:ARGUMENT", followed by "?OPTIONS" or not,
/// or an argument of the default backend alone. Returns no backend and one sentence in `error` if
/// there is no such backend or it cannot run.
Backend makeBackend(
    const std::string &choice, EventSink raise, std::string &error,
    const FreeDevices &freeDevices = [] {});

/// Makes the default backend with its default argument, which never fails.
Backend makeDefaultBackend(EventSink raise);

} // namespace devsrv
