// SPDX-License-Identifier: MIT
#include "tools/denoise/LearningSource.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <utility>

#include "tools/system/FileError.h"
#include "tools/system/OutputFile.h"

namespace fs = std::filesystem;

namespace quietfloor {
namespace {

constexpr double pipeSeconds = 30.0;
constexpr sf_count_t keptBytes = sf_count_t{64} << 20; // of a pipe with many channels or a high rate

bool HasName(const fs::path &source) {
    std::error_code ignored;
    return !IsStandardStream(source) && fs::is_regular_file(source, ignored);
}

} // namespace

LearningSource::LearningSource(const fs::path &source, AudioReader &opened, const Learning &learning,
                               bool writesToPipe, WorkMeter &meter)
    : path(source), reader(&opened), isPipe(!HasName(source) && !opened.CanSeek()),
      channels(opened.Info().channels), most(Most(learning, writesToPipe)) {
    if (most == 0)
        return;
    if (isPipe)
        Keep(meter);
    else if (HasName(source))
        reader = &other.emplace(source);
}

sf_count_t LearningSource::Most(const Learning &learning, bool writesToPipe) const {
    const auto frames = [this](double seconds) {
        return static_cast<sf_count_t>(std::ceil(seconds * reader->Info().samplerate));
    };
    sf_count_t wanted = 0;
    if (learning.amount == Learning::Amount::seconds)
        wanted = frames(learning.seconds);
    else if (learning.amount == Learning::Amount::automatic && !(isPipe && writesToPipe))
        wanted = isPipe ? frames(pipeSeconds) : std::numeric_limits<sf_count_t>::max();
    const sf_count_t frameBytes = channels * static_cast<sf_count_t>(sizeof(float));
    return isPipe ? std::min(wanted, keptBytes / frameBytes) : wanted;
}

void LearningSource::Keep(WorkMeter &meter) {
    for (sf_count_t frames = 0, count = rowFrames; count == rowFrames && frames < most; frames += count) {
        const sf_count_t wanted = std::min(most - frames, rowFrames);
        Row<float> row(wanted * channels);
        count = reader->Read(row.begin(), wanted);
        row.Resize(count * channels);
        if (count > 0)
            kept.push_back(std::move(row));
        meter.Advance(0);
    }
}

void LearningSource::GoTo(sf_count_t frame) {
    position = frame;
    if (isPipe || reader->SeekTo(frame))
        return;
    if (!other)
        throw FileError("standard input", "cannot be read a second time; --learn off reads it once");
    Row<float> skipped(rowFrames * channels);
    sf_count_t left = frame, count = 1;
    for (other.emplace(path); left > 0 && count > 0; left -= count)
        count = other->Read(skipped.begin(), std::min(left, rowFrames));
}

sf_count_t LearningSource::Read(float *block, sf_count_t frames) {
    const sf_count_t wanted = std::min(frames, most - position);
    const sf_count_t count = isPipe ? ReadKept(block, wanted) : reader->Read(block, wanted);
    position += count;
    return count;
}

// All rows but the last one are full.
sf_count_t LearningSource::ReadKept(float *block, sf_count_t frames) const {
    sf_count_t done = 0;
    while (done < frames) {
        const auto index = static_cast<std::size_t>((position + done) / rowFrames);
        if (index >= kept.size())
            break;
        const Row<float> &row = kept[index];
        const sf_count_t at = (position + done) % rowFrames;
        const sf_count_t run = std::min(frames - done, row.Length() / channels - at);
        if (run <= 0)
            break;
        std::copy_n(row.begin() + at * channels, run * channels, block + done * channels);
        done += run;
    }
    return done;
}

void LearningSource::Close() {
    if (!isPipe && !other && most > 0)
        GoTo(0);
    other.reset();
}

} // namespace quietfloor
