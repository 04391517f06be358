#include "tools/HeaderCorrection.h"

#include <cstdint>
#include <cstring>

#include "tools/TargetFormat.h"

namespace quietfloor {
namespace {

using Bytes = std::vector<unsigned char>;

std::uint32_t BigEndian(const Bytes &header, std::size_t at) {
    std::uint32_t value = 0;
    for (std::size_t i = 0; i < 4; ++i)
        value = value << 8 | header[at + i];
    return value;
}

void PutBigEndian(Bytes &header, std::size_t at, std::uint32_t value) {
    for (std::size_t i = 4; i-- > 0; value >>= 8)
        header[at + i] = static_cast<unsigned char>(value);
}

void CorrectAiff(Bytes &header, sf_count_t frames) {
    const auto Is = [&header](std::size_t at, const char *id) {
        return std::memcmp(header.data() + at, id, 4) == 0;
    };
    for (std::size_t at = 12; at + 14 <= header.size();) {
        const std::size_t size = BigEndian(header, at + 4);
        if (Is(at, "COMM"))
            PutBigEndian(header, at + 10, static_cast<std::uint32_t>(frames));
        if (Is(at, "SSND"))
            PutBigEndian(header, at + 4, static_cast<std::uint32_t>(frames) + 8);
        at += 8 + size + size % 2;
    }
}

// The one block of the newer kind that the file consists of: its size, 24 bits, is that of its 12 bytes of
// header and the sound.
void CorrectVoc(Bytes &header, const SF_INFO &info, sf_count_t frames) {
    constexpr std::size_t blockAt = 26;
    constexpr unsigned char newerKind = 9;
    if (header.size() < blockAt + 4 || header[blockAt] != newerKind)
        return;
    const auto size = static_cast<std::uint32_t>(12 + frames * BytesPerSample(info.format) * info.channels);
    for (unsigned i = 0; i < 3; ++i)
        header[blockAt + 1 + i] = static_cast<unsigned char>(size >> (8 * i));
}

} // namespace

void CorrectHeader(std::vector<unsigned char> &header, const SF_INFO &info, sf_count_t frames) {
    if (ContainerOf(info.format) == SF_FORMAT_VOC)
        CorrectVoc(header, info, frames);
    const bool isPadded = BytesPerSample(info.format) == 1 && info.channels == 1 && frames % 2 != 0;
    if (ContainerOf(info.format) == SF_FORMAT_AIFF && isPadded)
        CorrectAiff(header, frames);
}

} // namespace quietfloor
