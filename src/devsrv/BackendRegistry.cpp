// SPDX-License-Identifier: MIT
#include "BackendRegistry.h"

#include "BackendFactories.h"

#include <QtCore/QCoreApplication>

#include <algorithm>

namespace devsrv {

namespace {

BackendEntry entry(const char *name, const char *argument, const char *help, const char *option,
                   BackendFactory *make, std::string_view options = {},
                   BackendDeviceList *list = nullptr, bool needsApplication = false)
{
    return {{name, argument, help, option, make ? 1 : 0}, make, options, list, needsApplication};
}

// A row for each backend: name, syntax of the argument, one line of help, build option, factory;
// keys of the options, list of devices, need of an application. The first row is the default. Not
// constexpr: with GCC's undefined-behaviour sanitizer, a test for a null function is no constant
// expression.
const BackendEntry kEntries[] = {
    entry("emulated", "[:CARD]", "an emulated card: a shipped one or a card file", "",
          kEmulatedCardFactory),
    entry("modemmanager", "[:IMEI|NUMBER|PATH|any][?enable=no&at-timeout=SECONDS]",
          "a modem of the ModemManager daemon: the first, or the one named", "KESTRUN_MODEMMANAGER",
          kModemManagerCardFactory, "enable at-timeout", kModemManagerCardList, true),
    entry("serial", "[:PORT][?OPTIONS]",
          "a card that speaks AT on a serial port: the first that answers, or by its port",
          "KESTRUN_SERIAL", kSerialCardFactory, "baud modem timeout enable initial",
          kSerialCardList, true),
};

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

// The text after the name of a backend, in its parts.
struct Rest
{
    BackendArgument argument;
    std::string_view options;
};

// A backend without options keeps each "?" of its argument, which may be the name of a file.
Rest splitRest(std::string_view rest, bool hasOptions)
{
    const bool hasArgument = rest.starts_with(':');
    const std::size_t mark = hasArgument && !hasOptions ? std::string_view::npos : rest.find('?');
    Rest parts;
    if (hasArgument)
        parts.argument = std::string(
            rest.substr(1, mark == std::string_view::npos ? mark : mark - 1));
    if (mark != std::string_view::npos)
        parts.options = rest.substr(mark + 1);
    return parts;
}

} // namespace

std::span<const BackendEntry> backendEntries()
{
    return kEntries;
}

const BackendEntry *findBackend(std::string_view name)
{
    const auto found = std::find_if(std::begin(kEntries), std::end(kEntries),
                                    [&](const BackendEntry &e) { return name == e.facts.name; });
    return found == std::end(kEntries) ? nullptr : found;
}

Backend makeBackend(const std::string &choice, EventSink raise, std::string &error,
                    const FreeDevices &freeDevices)
{
    const std::string name = choice.substr(0, choice.find_first_of(":?"));
    if (const BackendEntry *const named = findBackend(name)) {
        if (!named->make) {
            error = "the backend \"" + name + "\" is not built in; build with the CMake option "
                + named->facts.option + " and the library that it needs, or choose one of "
                + builtBackends();
            return {};
        }
        if (named->needsApplication && !QCoreApplication::instance()) {
            error = "the backend \"" + name
                + "\" needs a QCoreApplication, which the host has not made";
            return {};
        }
        const std::string_view rest = std::string_view(choice).substr(name.size());
        const Rest parts = splitRest(rest, !named->options.empty());
        const auto options = BackendOptions::parse(parts.options, named->options, error);
        if (!options) {
            error = name + ": " + error;
            return {};
        }
        return named->make(parts.argument, *options, std::move(raise), error, freeDevices);
    }
    Backend backend = kEntries[0].make(choice, {}, std::move(raise), error, freeDevices);
    if (!backend.card)
        error += "; the backends are " + builtBackends();
    return backend;
}

Backend makeDefaultBackend(EventSink raise)
{
    std::string error;
    return kEntries[0].make({}, {}, std::move(raise), error, [] {});
}

} // namespace devsrv
