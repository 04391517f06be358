// SPDX-License-Identifier: MIT
#include "tools/sound/Metadata.h"

#include <cstdint>
#include <cstring>
#include <vector>

#include "tools/sound/TargetFormat.h"

namespace quietfloor {
namespace {

// With the longest text that libsndfile keeps; it refuses what is not shorter.
using BroadcastInfo = SF_BROADCAST_INFO_VAR(16 * 1024);
using CartInfo = SF_CART_INFO_VAR(16 * 1024);

void CopyTags(SNDFILE *from, SNDFILE *to) {
    for (int tag = SF_STR_FIRST; tag <= SF_STR_LAST; ++tag)
        if (const char *text = sf_get_string(from, tag))
            sf_set_string(to, tag, text);
}

// A record of at most `size` bytes that one command reads and another one writes.
void CopyRecord(SNDFILE *from, SNDFILE *to, int get, int set, std::size_t size) {
    std::vector<std::uint64_t> record(size / sizeof(std::uint64_t) + 1); // aligned for any of them
    if (sf_command(from, get, record.data(), static_cast<int>(size)) == SF_TRUE)
        sf_command(to, set, record.data(), static_cast<int>(size));
}

void CopyCues(SNDFILE *from, SNDFILE *to) {
    std::uint32_t count = 0;
    if (sf_command(from, SFC_GET_CUE_COUNT, &count, sizeof count) == SF_TRUE && count > 0)
        CopyRecord(from, to, SFC_GET_CUE, SFC_SET_CUE, sizeof count + count * sizeof(SF_CUE_POINT));
}

void CopyChannelLayout(SNDFILE *from, SNDFILE *to, int channels) {
    CopyRecord(from, to, SFC_GET_CHANNEL_MAP_INFO, SFC_SET_CHANNEL_MAP_INFO,
               static_cast<std::size_t>(channels) * sizeof(int));
    if (sf_command(from, SFC_WAVEX_GET_AMBISONIC, nullptr, 0) == SF_AMBISONIC_B_FORMAT)
        sf_command(to, SFC_WAVEX_SET_AMBISONIC, nullptr, SF_AMBISONIC_B_FORMAT);
}

bool HasWavChunks(SNDFILE *file) {
    SF_INFO info{};
    sf_command(file, SFC_GET_CURRENT_SF_INFO, &info, sizeof info);
    return IsWav(info.format) || ContainerOf(info.format) == SF_FORMAT_RF64;
}

constexpr unsigned largestChunk = 64 << 20; // bytes; more is a damaged header, and is not allocated for

void CopyChunks(SNDFILE *from, SNDFILE *to) {
    for (const char *id : {"iXML", "axml", "chna", "acid", "id3 ", "ID3 "}) {
        SF_CHUNK_INFO chunk{};
        std::memcpy(chunk.id, id, 4);
        chunk.id_size = 4;
        SF_CHUNK_ITERATOR *found = sf_get_chunk_iterator(from, &chunk);
        if (found == nullptr || sf_get_chunk_size(found, &chunk) != SF_ERR_NO_ERROR ||
            chunk.datalen > largestChunk)
            continue;
        std::vector<char> data(chunk.datalen);
        chunk.data = data.data();
        if (sf_get_chunk_data(found, &chunk) == SF_ERR_NO_ERROR)
            sf_set_chunk(to, &chunk);
    }
}

} // namespace

void CopyMetadata(SNDFILE *from, SNDFILE *to) {
    SF_INFO info{};
    sf_command(from, SFC_GET_CURRENT_SF_INFO, &info, sizeof info);
    CopyTags(from, to);
    CopyRecord(from, to, SFC_GET_BROADCAST_INFO, SFC_SET_BROADCAST_INFO, sizeof(BroadcastInfo) - 1);
    CopyRecord(from, to, SFC_GET_CART_INFO, SFC_SET_CART_INFO, sizeof(CartInfo) - 1);
    CopyRecord(from, to, SFC_GET_INSTRUMENT, SFC_SET_INSTRUMENT, sizeof(SF_INSTRUMENT));
    CopyCues(from, to);
    CopyChannelLayout(from, to, info.channels);
    if (HasWavChunks(from) && HasWavChunks(to))
        CopyChunks(from, to);
}

} // namespace quietfloor
