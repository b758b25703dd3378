// SPDX-License-Identifier: MIT
#pragma once

namespace devsrv {

/// Logs the exception that is being handled as a warning, with the function that it ended.
void logException(const char *function) noexcept;

/// Runs `action` where no exception may pass: below a C function, or at the beginning of a thread.
/// Returns its result, or `onException` after a warning.
template <typename Result, typename Action>
Result guarded(const char *function, Result onException, Action action) noexcept
{
    try {
        return action();
    } catch (...) {
        logException(function);
        return onException;
    }
}

template <typename Action>
void guarded(const char *function, Action action) noexcept
{
    try {
        action();
    } catch (...) {
        logException(function);
    }
}

} // namespace devsrv
