// SPDX-License-Identifier: MIT
#include "tools/sound/HeaderLog.h"

#include <cstdlib>
#include <string>

namespace quietfloor {
namespace {

std::string LogOf(SNDFILE *file) {
    char text[1 << 14] = "";
    sf_command(file, SFC_GET_LOG_INFO, text, sizeof text);
    return text;
}

} // namespace

// In lines such as "data : 96000 (should be 49956)". Small differences are writers' errors; a size near 2^31
// is a placeholder.
bool IsLoggedAsCutOff(SNDFILE *file) {
    constexpr long long mistake = 4096, noSize = 0x7FFFF000; // bytes
    const std::string text = LogOf(file), marker = " (should be ";
    for (std::size_t at = text.find(marker); at != std::string::npos; at = text.find(marker, at + 1)) {
        const std::size_t number = text.find_last_not_of("0123456789", at - 1) + 1;
        const long long stated = std::strtoll(text.c_str() + number, nullptr, 10);
        const long long present = std::strtoll(text.c_str() + at + marker.size(), nullptr, 10);
        if (stated - present > mistake && stated < noSize)
            return true;
    }
    return false;
}

} // namespace quietfloor
