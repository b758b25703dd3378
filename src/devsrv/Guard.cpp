// SPDX-License-Identifier: MIT
#include "Guard.h"

#include <QtDebug>

#include <exception>

namespace devsrv {

void logException(const char *function) noexcept
try {
    try {
        throw;
    } catch (const std::exception &exception) {
        qWarning("device service: %s was ended by an exception: %s", function, exception.what());
    } catch (...) {
        qWarning("device service: %s was ended by an exception", function);
    }
} catch (...) {
    // There is no memory for the warning either.
}

} // namespace devsrv
