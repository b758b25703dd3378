// SPDX-License-Identifier: MIT
#pragma once

#include "CallObserver.h"
#include "CardBackend.h"

#include "devsrv/DeviceServiceControl.h"

#include <memory>
#include <optional>
#include <span>
#include <string>

namespace devsrv {

/// A backend with the observer that comes with it. Without a card it is no backend.
struct Backend
{
    std::shared_ptr<CardBackend> card;
    std::shared_ptr<CallObserver> observer; ///< may be null
};

/// The text behind the colon of "NAME:ARGUMENT"; none for "NAME".
using BackendArgument = std::optional<std::string>;

/// Makes a backend. Returns no backend and one sentence in `error` if it cannot run.
using BackendFactory = Backend(const BackendArgument &argument, EventSink raise,
                               std::string &error);

/// One row of the registry.
struct BackendEntry
{
    DevSrvBackend facts;  ///< for hosts
    BackendFactory *make; ///< null if the backend is not built
};

/// The backends, the default one first.
std::span<const BackendEntry> backendEntries();

/// Makes the backend that `choice` names: "NAME", "NAME:ARGUMENT", or an argument of the default
/// backend alone. Returns no backend and one sentence in `error` if there is none or it cannot run.
Backend makeBackend(const std::string &choice, EventSink raise, std::string &error);

/// Makes the default backend with its default argument, which never fails.
Backend makeDefaultBackend(EventSink raise);

} // namespace devsrv
