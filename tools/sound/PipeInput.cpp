// SPDX-License-Identifier: MIT
#include "tools/sound/PipeInput.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <new>

#include "tools/system/Descriptor.h"

namespace quietfloor {
namespace {

constexpr sf_count_t endless = sf_count_t(1) << 62;
constexpr std::uint32_t lapBytes = std::uint32_t(1) << 28; // fewer than 2^31 frames with any codec
constexpr std::size_t longestHead = std::size_t(1) << 24;  // bytes; pictures in tags are megabytes

// What writers that do not know the size put in its place: the largest number, signed or unsigned, or that
// less the size of a header or of a page of memory.
bool IsPlaceholder(std::uint32_t size) {
    return size >= 0xFFFFF000u || (size >= 0x7FFFF000u && size <= 0x7FFFFFFFu);
}

} // namespace

PipeInput::PipeInput(int openDescriptor) : descriptor(openDescriptor) {}

PipeInput::~PipeInput() {
    if (descriptor != StandardInput())
        Close(descriptor);
}

SNDFILE *PipeInput::Open(SF_INFO &info) {
    MakeEndlessIfWithoutSize();
    SF_VIRTUAL_IO bytes{};
    bytes.get_filelen = Length;
    bytes.seek = Seek;
    bytes.read = Read;
    bytes.tell = Tell;
    SNDFILE *file = sf_open_virtual(&bytes, SFM_READ, &info, this);
    if (wasRf64)
        info.format = SF_FORMAT_RF64 | (info.format & SF_FORMAT_SUBMASK);
    return file;
}

bool PipeInput::HasMore() {
    char next;
    return position < static_cast<sf_count_t>(head.size()) || ReadAll(descriptor, &next, 1) == 1;
}

void PipeInput::FetchTo(std::size_t count) {
    const std::size_t before = head.size();
    head.resize(std::max(before, std::min(longestHead, count)));
    head.resize(before + ReadAll(descriptor, head.data() + before, head.size() - before));
}

std::uint32_t PipeInput::Number(std::size_t at) const {
    std::uint32_t value = 0;
    for (std::size_t i = 4; i-- > 0;)
        value = value << 8 | head[at + i];
    return value;
}

bool PipeInput::StartsWith(std::size_t at, const char *id) const {
    return head.size() >= at + 8 && std::memcmp(head.data() + at, id, 4) == 0;
}

// An RF64 header (EBU Tech 3306) without a size becomes that of a WAV stream: without the chunk of sizes, the
// two are the same.
void PipeInput::MakeWavOfRf64WithoutSize() {
    constexpr std::size_t dataSizeAt = 28;
    FetchTo(dataSizeAt + 8);
    if (head.size() < dataSizeAt + 8 || !StartsWith(0, "RF64") || !StartsWith(12, "ds64"))
        return;
    const std::uint32_t low = Number(dataSizeAt), high = Number(dataSizeAt + 4);
    wasRf64 = low == high && (low == 0 || low == 0xFFFFFFFF);
    if (!wasRf64)
        return;
    std::memcpy(head.data(), "RIFF", 4);
    std::memcpy(head.data() + 12, "JUNK", 4);
}

void PipeInput::MakeEndlessIfWithoutSize() {
    FetchTo(12);
    if (StartsWith(0, "RF64"))
        MakeWavOfRf64WithoutSize();
    if (!StartsWith(0, "RIFF") || head.size() < 12 || std::memcmp(head.data() + 8, "WAVE", 4) != 0)
        return;
    const std::uint32_t fileSize = Number(4);
    std::uint32_t blockBytes = 1;
    std::size_t at = 12;
    for (FetchTo(at + 24); head.size() >= at + 8 && !StartsWith(at, "data"); FetchTo(at + 24)) {
        if (StartsWith(at, "fmt ") && head.size() >= at + 24)
            blockBytes = std::max(1u, Number(at + 20) & 0xFFFF);
        at += 8 + std::size_t(Number(at + 4)) + (Number(at + 4) & 1u);
    }
    if (!StartsWith(at, "data"))
        return;
    const bool isEmpty = Number(at + 4) == 0 && (fileSize <= at || IsPlaceholder(fileSize));
    isEndless = isEmpty || IsPlaceholder(Number(at + 4));
    for (std::size_t i = 0; isEndless && i < 4; ++i)
        head[at + 4 + i] = static_cast<unsigned char>((lapBytes - lapBytes % blockBytes) >> (8 * i));
}

sf_count_t PipeInput::Length(void *) { return endless; }

sf_count_t PipeInput::Tell(void *self) { return static_cast<PipeInput *>(self)->position; }

// After the header only the counting begins anew; the sound goes on.
sf_count_t PipeInput::Seek(sf_count_t offset, int whence, void *self) {
    auto &pipe = *static_cast<PipeInput *>(self);
    const sf_count_t base = whence == SEEK_SET ? 0 : whence == SEEK_CUR ? pipe.position : endless;
    if (pipe.keepsHead)
        pipe.position = base + offset;
    return base + offset;
}

// Before the sound is read, whatever lies too far ahead to be kept is not there.
sf_count_t PipeInput::Read(void *to, sf_count_t count, void *self) {
    auto &pipe = *static_cast<PipeInput *>(self);
    const auto wanted = static_cast<std::size_t>(count), at = static_cast<std::size_t>(pipe.position);
    try {
        if (pipe.keepsHead && at < longestHead)
            pipe.FetchTo(at + wanted);
    } catch (const std::bad_alloc &) {
        return 0;
    }
    std::size_t done = at < pipe.head.size() ? std::min(wanted, pipe.head.size() - at) : 0;
    std::copy_n(pipe.head.data() + (done > 0 ? at : 0), done, static_cast<unsigned char *>(to));
    pipe.position += static_cast<sf_count_t>(done);
    const auto taken = static_cast<sf_count_t>(pipe.head.size()) + pipe.passed;
    if (!pipe.keepsHead && done < wanted && pipe.position == taken) {
        const std::size_t more =
            ReadAll(pipe.descriptor, static_cast<unsigned char *>(to) + done, wanted - done);
        pipe.passed += static_cast<sf_count_t>(more);
        pipe.position += static_cast<sf_count_t>(more);
        done += more;
    }
    if (done == 0 && wanted > 0) {
        pipe.hasEnded = !pipe.keepsHead;
        pipe.position = pipe.keepsHead ? endless : pipe.position; // who looks for further chunks sees the end
    }
    return static_cast<sf_count_t>(done);
}

} // namespace quietfloor
