// SPDX-License-Identifier: MIT
#pragma once

#include <QtDebug>

#include <exception>

/// What plug-in and device service share: nothing that is exported.
namespace shared {

/// Logs the exception that is being handled as a warning, with the action that it ended.
inline void logException(const char *action) noexcept
try {
    try {
        throw;
    } catch (const std::exception &exception) {
        qWarning("%s was ended by an exception: %s", action, exception.what());
    } catch (...) {
        qWarning("%s was ended by an exception", action);
    }
} catch (...) {
    // There is no memory for the warning either.
}

/// Runs `function` where no exception may pass: below a C function, or at the beginning of a
/// thread. Returns its result, or `onException` after a warning.
template <typename Result, typename Function>
Result guarded(const char *action, Result onException, Function function) noexcept
{
    try {
        return function();
    } catch (...) {
        logException(action);
        return onException;
    }
}

template <typename Function>
void guarded(const char *action, Function function) noexcept
{
    try {
        function();
    } catch (...) {
        logException(action);
    }
}

} // namespace shared
