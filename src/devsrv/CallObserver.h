// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <string_view>

namespace devsrv {

/// How the C boundary fills the caller's text buffers.
enum class TextFill {
    Proper,       ///< cut to the buffer, with a closing NUL
    Whole,        ///< as Proper; a text as long as its buffer is written without a NUL
    NoTerminator, ///< to the end of the buffer, without a NUL
    HighBytes     ///< a byte above ASCII in place of each character
};

/// How the C boundary answers a call.
struct CallOutcome
{
    std::int32_t result = 0;   ///< if not 0, the call returns it
    bool writeOutputs = false; ///< ask the backend and fill the outputs even if the call fails
    TextFill fill = TextFill::Proper;
};

/// Sees every call of the C boundary and may change its outcome.
///
/// A backend may come with an observer, and an observer may be put in front of any backend. The
/// boundary calls it from any thread, also from several at a time, and holds no lock meanwhile.
class CallObserver
{
public:
    virtual ~CallObserver() = default;

    /// Called before the backend is asked, with the C function's name and its arguments in
    /// readable form.
    virtual CallOutcome enter(std::string_view function, std::string_view arguments) = 0;

    /// Called after the outputs are written, with the result that the caller gets.
    virtual void leave(std::string_view /*function*/, std::int32_t /*result*/) {}
};

} // namespace devsrv
