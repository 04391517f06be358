// SPDX-License-Identifier: MIT
#include "tools/sound/AudioWriter.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

#include "tools/sound/Metadata.h"
#include "tools/sound/StreamHeader.h"
#include "tools/sound/TargetFormat.h"

namespace quietfloor {
namespace {

sf_count_t Length(void *output) { return static_cast<OutputFile *>(output)->Length(); }

sf_count_t Tell(void *output) { return static_cast<OutputFile *>(output)->position; }

sf_count_t Seek(sf_count_t offset, int whence, void *output) {
    auto &file = *static_cast<OutputFile *>(output);
    const sf_count_t base = whence == SEEK_SET ? 0 : whence == SEEK_CUR ? file.position : file.Length();
    return file.position = std::max<sf_count_t>(base + offset, 0);
}

sf_count_t Write(const void *bytes, sf_count_t count, void *output) {
    return static_cast<OutputFile *>(output)->Write(bytes, static_cast<std::size_t>(count)) ? count : 0;
}

SNDFILE *Open(SF_INFO info, OutputFile &output) {
    SF_VIRTUAL_IO bytes{};
    bytes.get_filelen = Length;
    bytes.seek = Seek;
    bytes.write = Write;
    bytes.tell = Tell;
    return sf_open_virtual(&bytes, SFM_WRITE, &info, &output);
}

} // namespace

AudioWriter::AudioWriter(const std::filesystem::path &path, const SF_INFO &format, bool overwrites,
                         const AudioReader &source)
    : info(format), bits(IntegerBits(format.format)), output(path, overwrites), file(nullptr, sf_close) {
    if (output.IsSeekable())
        output.SetLimit(LargestFile(info.format));
    else if (CanStream(info.format))
        output.HoldBack();
    else
        throw FileError(output.Name(), "this format cannot be written to a pipe; --format wav can");
    file.reset(Open(info, output));
    if (!file)
        throw FileError(output.Name(), sf_strerror(nullptr));
    // The peak chunk carries the time of day: without it the same input gives the same file. RF64 has none
    // unless libsndfile is told to leave it out.
    if (ContainerOf(info.format) != SF_FORMAT_RF64)
        sf_command(file.get(), SFC_SET_ADD_PEAK_CHUNK, nullptr, SF_FALSE);
    Start(source);
}

void AudioWriter::Start(const AudioReader &source) {
    CopyMetadata(source.Handle(), file.get());
    if (output.IsSeekable())
        return;
    if (HasSizes(info.format))
        sf_command(file.get(), SFC_UPDATE_HEADER_NOW, nullptr, 0);
    const sf_count_t frames = source.KnownFrames();
    CompleteStreamHeader(output.Held(), info, frames > 0 ? frames : -1);
    output.Release();
    output.ThrowIfFailed();
}

// Doubles hold every number that a float makes of up to 32 bits.
void AudioWriter::Quantize(const float *samples, std::size_t count) {
    const double scale = std::ldexp(1.0, bits - 1);
    const int shift = 32 - bits;
    numbers.resize(count);
    for (std::size_t i = 0; i < count; ++i) {
        clipped += std::abs(samples[i]) > 1.0f ? 1 : 0;
        const double number = std::clamp(std::nearbyint(samples[i] * scale), -scale, scale - 1);
        numbers[i] =
            static_cast<std::int32_t>(static_cast<std::int64_t>(number) * (std::int64_t(1) << shift));
    }
}

void AudioWriter::Write(const float *block, sf_count_t frames) {
    if (frames == 0)
        return;
    sf_count_t count;
    if (bits == 0) {
        count = sf_writef_float(file.get(), block, frames);
    } else {
        Quantize(block, static_cast<std::size_t>(frames * info.channels));
        count = sf_writef_int(file.get(), numbers.data(), frames);
    }
    output.ThrowIfFailed();
    if (count != frames)
        throw FileError(output.Name(), sf_strerror(file.get()));
}

void AudioWriter::Commit() {
    if (output.Length() == 0) // without a frame some formats have not written their header yet
        sf_command(file.get(), SFC_UPDATE_HEADER_NOW, nullptr, 0);
    const int status = sf_close(file.release());
    output.ThrowIfFailed();
    if (status != SF_ERR_NO_ERROR)
        throw FileError(output.Name(), sf_error_number(status));
    output.Commit();
}

} // namespace quietfloor
