// SPDX-License-Identifier: MIT
#include "tools/sound/StreamHeader.h"

#include <cstdint>
#include <cstring>

#include "tools/sound/TargetFormat.h"

namespace quietfloor {
namespace {

constexpr std::uint32_t unknown = 0xFFFFFFFF;

void Put(std::vector<unsigned char> &header, std::size_t at, std::uint32_t value) {
    for (std::size_t i = 0; i < 4; ++i)
        header[at + i] = static_cast<unsigned char>(value >> (8 * i));
}

std::size_t Get(const std::vector<unsigned char> &header, std::size_t at) {
    std::size_t value = 0;
    for (std::size_t i = 4; i-- > 0;)
        value = value << 8 | header[at + i];
    return value;
}

} // namespace

void CompleteStreamHeader(std::vector<unsigned char> &header, const SF_INFO &info, sf_count_t frames) {
    const auto Is = [&header](std::size_t at, const char *id) {
        return header.size() >= at + 8 && std::memcmp(header.data() + at, id, 4) == 0;
    };
    if (Is(0, ".snd") || Is(0, "dns."))
        Put(header, 8, unknown);
    if (!Is(0, "RIFF"))
        return;
    const sf_count_t frameBytes = sf_count_t(BytesPerSample(info.format)) * info.channels;
    const sf_count_t largest = sf_count_t(unknown) - 1 - static_cast<sf_count_t>(header.size());
    const bool isKnown = frames >= 0 && frameBytes > 0 && frames <= largest / frameBytes;
    const auto dataSize = static_cast<std::uint32_t>(isKnown ? frames * frameBytes : unknown);
    const auto padded = static_cast<std::uint32_t>(header.size()) - 8 + dataSize + (dataSize & 1u);
    Put(header, 4, isKnown ? padded : unknown);
    for (std::size_t at = 12; at + 8 <= header.size();
         at += 8 + Get(header, at + 4) + Get(header, at + 4) % 2) {
        if (Is(at, "fact") && header.size() >= at + 12)
            Put(header, at + 8, isKnown ? static_cast<std::uint32_t>(frames) : unknown);
        if (Is(at, "data")) {
            Put(header, at + 4, dataSize);
            return;
        }
    }
}

} // namespace quietfloor
