// SPDX-License-Identifier: MIT
#include "BackendRegistry.h"

#include "BackendFactories.h"

#include <algorithm>

namespace devsrv {

namespace {

constexpr BackendEntry entry(const char *name, const char *argument, const char *help,
                             const char *option, BackendFactory *make)
{
    return {{name, argument, help, option, make ? 1 : 0}, make};
}

// A row for each backend: name, syntax of the argument, one line of help, build option, factory.
// The first row is the default.
constexpr BackendEntry kEntries[] = {
    entry("emulated", "[:CARD]", "an emulated card: a shipped one or a card file", "",
          kEmulatedCardFactory),
    entry("modemmanager", "[:IMEI]",
          "a modem of the ModemManager daemon: the first, or by its IMEI", "KESTRUN_MODEMMANAGER",
          kModemManagerCardFactory),
};

const BackendEntry *find(const std::string &name)
{
    const auto found = std::find_if(std::begin(kEntries), std::end(kEntries),
                                    [&](const BackendEntry &e) { return name == e.facts.name; });
    return found == std::end(kEntries) ? nullptr : found;
}

std::string builtBackends()
{
    std::string list;
    for (const BackendEntry &entry : kEntries) {
        if (entry.make)
            list += (list.empty() ? "" : ", ") + std::string(entry.facts.name)
                + entry.facts.argument;
    }
    return list;
}

} // namespace

std::span<const BackendEntry> backendEntries()
{
    return kEntries;
}

Backend makeBackend(const std::string &choice, EventSink raise, std::string &error)
{
    const std::size_t colon = choice.find(':');
    if (const BackendEntry *const named = find(choice.substr(0, colon))) {
        const auto argument = colon == std::string::npos ? BackendArgument()
                                                         : choice.substr(colon + 1);
        if (named->make)
            return named->make(argument, std::move(raise), error);
        error = "the backend \"" + std::string(named->facts.name)
            + "\" is not built in; build with the CMake option " + named->facts.option
            + ", or choose one of " + builtBackends();
        return {};
    }
    Backend backend = kEntries[0].make(choice, std::move(raise), error);
    if (!backend.card)
        error += "; the backends are " + builtBackends();
    return backend;
}

Backend makeDefaultBackend(EventSink raise)
{
    std::string error;
    return kEntries[0].make({}, std::move(raise), error);
}

} // namespace devsrv
