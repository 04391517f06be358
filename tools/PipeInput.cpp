#include "tools/PipeInput.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <iterator>
#include <new>

#include "tools/Descriptor.h"

namespace quietfloor {
namespace {

constexpr sf_count_t endless = sf_count_t(1) << 62;
constexpr std::size_t longestHead = std::size_t(1) << 24; // bytes; pictures in tags are megabytes

bool CanBe64Bit(std::uint32_t formatTag) {
    return formatTag == 1 || formatTag == 3 || formatTag == 6 || formatTag == 7 || formatTag == 0xFFFE;
}

// What writers put there that do not know the size: all ones, the like of it as a signed number, or either
// less what a header or a page of memory takes.
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
    if (file != nullptr && isEndless)
        info.format = SF_FORMAT_WAV | (info.format & SF_FORMAT_SUBMASK);
    return file;
}

void PipeInput::Fetch(std::size_t count) {
    const std::size_t before = head.size();
    head.resize(std::max(before, std::min(longestHead, before + count)));
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

void PipeInput::MakeEndlessIfWithoutSize() {
    Fetch(12);
    if (!StartsWith(0, "RIFF") || head.size() < 12 || std::memcmp(head.data() + 8, "WAVE", 4) != 0)
        return;
    const std::uint32_t fileSize = Number(4);
    std::uint32_t formatTag = 0;
    std::size_t at = 12;
    for (Fetch(8); head.size() >= at + 8 && !StartsWith(at, "data"); Fetch(8)) {
        const std::size_t size = Number(at + 4) + (Number(at + 4) & 1u);
        Fetch(size);
        if (StartsWith(at, "fmt ") && head.size() >= at + 10)
            formatTag = head[at + 8] | static_cast<std::uint32_t>(head[at + 9]) << 8;
        at += 8 + size;
    }
    const bool isEmpty =
        StartsWith(at, "data") && Number(at + 4) == 0 && (fileSize <= at || IsPlaceholder(fileSize));
    if (!StartsWith(at, "data") || !CanBe64Bit(formatTag) || !(isEmpty || IsPlaceholder(Number(at + 4))))
        return;
    // RF64 keeps all sizes in a chunk of its own: of the file, of the data, of frames, of a table.
    constexpr unsigned char all = 0xFF, half = 0x3F;
    const unsigned char sizes[36] = {'d', 's', '6', '4',  28,  0,   0,   0,   all, all, all, all,
                                     all, all, all, half, all, all, all, all, all, all, all, half};
    std::memcpy(head.data(), "RF64\xFF\xFF\xFF\xFF", 8);
    std::memset(head.data() + at + 4, 0xFF, 4);
    head.insert(head.begin() + 12, std::begin(sizes), std::end(sizes));
    isEndless = true;
}

sf_count_t PipeInput::Length(void *) { return endless; }

sf_count_t PipeInput::Tell(void *self) { return static_cast<PipeInput *>(self)->position; }

sf_count_t PipeInput::Seek(sf_count_t offset, int whence, void *self) {
    auto &pipe = *static_cast<PipeInput *>(self);
    const sf_count_t base = whence == SEEK_SET ? 0 : whence == SEEK_CUR ? pipe.position : endless;
    if (pipe.keepsHead || base + offset == pipe.position)
        pipe.position = base + offset;
    return pipe.position;
}

// Before the sound is read, whatever lies too far ahead to be kept is not there.
sf_count_t PipeInput::Read(void *to, sf_count_t count, void *self) {
    auto &pipe = *static_cast<PipeInput *>(self);
    const auto wanted = static_cast<std::size_t>(count), at = static_cast<std::size_t>(pipe.position);
    try {
        if (pipe.keepsHead && at < longestHead && at + wanted > pipe.head.size())
            pipe.Fetch(at + wanted - pipe.head.size());
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
    return static_cast<sf_count_t>(done);
}

} // namespace quietfloor
