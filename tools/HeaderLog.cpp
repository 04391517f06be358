#include "tools/HeaderLog.h"

#include <cstdlib>

#include "tools/TargetFormat.h"

namespace quietfloor {

HeaderLog::HeaderLog(SNDFILE *file) : text(1 << 14, '\0') {
    sf_command(file, SFC_GET_LOG_INFO, text.data(), static_cast<int>(text.size()));
}

// In lines such as "data : 96000 (should be 49956)". Small differences are writers' mistakes, and so large a
// size is none.
bool HeaderLog::SaysCutOff() const {
    constexpr long long mistake = 4096, noSize = 0x7FFFF000; // bytes
    const std::string marker = " (should be ";
    for (std::size_t at = text.find(marker); at != std::string::npos; at = text.find(marker, at + 1)) {
        const std::size_t number = text.find_last_not_of("0123456789", at - 1) + 1;
        const long long stated = std::strtoll(text.c_str() + number, nullptr, 10);
        const long long present = std::strtoll(text.c_str() + at + marker.size(), nullptr, 10);
        if (stated - present > mistake && stated < noSize)
            return true;
    }
    return false;
}

bool HeaderLog::States(const std::string &line, sf_count_t number) const {
    const std::string stated = line + std::to_string(number);
    const std::size_t at = text.find(stated);
    return at != std::string::npos && text[at + stated.size()] == '\n';
}

bool HeaderLog::SaysPadded(const SF_INFO &info) const {
    if (info.channels != 1 || BytesPerSample(info.format) != 1 || info.frames < 1)
        return false;
    switch (ContainerOf(info.format)) {
    case SF_FORMAT_AIFF:
        return States("  Frames      : ", info.frames - 1);
    case SF_FORMAT_SVX:
        return States(" BODY : ", info.frames - 1);
    case SF_FORMAT_VOC:
        return text.find("Missing zero byte at end of file.") != std::string::npos;
    default:
        return false;
    }
}

} // namespace quietfloor
