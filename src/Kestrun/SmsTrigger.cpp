// SPDX-License-Identifier: MIT
#include "SmsTrigger.h"

namespace kestrun {

TriggerAnswer judgeTriggerResponse(const std::string &response, const std::string &verdict)
{
    const auto has = [](const std::string &text, auto part) {
        return text.find(part) != std::string::npos;
    };
    if (has(response, "ERROR"))
        return {"", 0};
    if (has(response, "COMMAND NOT SUPPORT"))
        return {"255", 0};
    if (!has(response, "^RSTRIGGER"))
        return {verdict, 1};
    // Counted from the beginning of the response, wherever the tag is. After a leading line break
    // the tail begins inside the tag, which has no digits and so does not change the verdict.
    constexpr std::size_t kTail = 11;
    const std::string tail = response.substr(kTail);
    if (has(tail, '0'))
        return {"0", 1};
    if (has(tail, '1'))
        return {"1", 1};
    return {verdict, 1};
}

} // namespace kestrun
