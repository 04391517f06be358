// SPDX-License-Identifier: MIT
#include "tools/denoise/LearningPass.h"

#include <algorithm>
#include <limits>
#include <vector>

#include "dsp/LearnAhead.h"

namespace quietfloor {
namespace {

// Gives `take` so many frames from there on, or as many as there are.
template <class Take>
void ForEachBlock(LearningSource &source, Row<float> &block, sf_count_t first, sf_count_t frames, Take take) {
    source.GoTo(first);
    for (sf_count_t count = 1; frames > 0 && count > 0; frames -= count) {
        count = source.Read(block.begin(), std::min(frames, LearningSource::rowFrames));
        take(block.begin(), static_cast<int>(count));
    }
}

} // namespace

std::optional<Lesson> Learn(LearningSource &source, dsp::ChannelGroup &reducers, int sampleRate, bool scales,
                            WorkMeter &meter) {
    if (source.IsEmpty())
        return std::nullopt;
    Row<float> block(LearningSource::rowFrames * reducers.GetChannelCount());
    dsp::LearnAhead lesson(reducers, sampleRate);
    ForEachBlock(source, block, 0, std::numeric_limits<sf_count_t>::max(),
                 [&](const float *frames, int count) {
                     lesson.Survey(frames, count);
                     meter.Advance(0);
                 });
    const float scale = scales ? lesson.WorkingScale() : 1.0f;
    if (scales) {
        const int index = dsp::SingleChannelAdaptiveNoise::kSensitivity;
        reducers.SetParameter(index, reducers.GetParameter(index) + lesson.SensitivityShift(scale));
    }
    const std::vector<dsp::LearnAhead::Passage> passages = lesson.Start(scale);
    for (const auto &passage : passages)
        meter.Expect(passage.count);
    for (const auto &passage : passages)
        ForEachBlock(source, block, passage.first, passage.count, [&](const float *frames, int count) {
            lesson.Teach(frames, count);
            meter.Advance(count);
        });
    source.Close();
    if (passages.empty())
        return std::nullopt;
    return Lesson{scale, lesson.SilencePeak()};
}

} // namespace quietfloor
