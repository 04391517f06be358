// SPDX-License-Identifier: MIT
#include "tools/sound/TargetFormat.h"

#include <initializer_list>
#include <string>

#include "tools/system/OutputFile.h"

namespace quietfloor {
namespace {

std::string NameOf(int format) {
    SF_FORMAT_INFO info{};
    info.format = format;
    sf_command(nullptr, SFC_GET_FORMAT_INFO, &info, sizeof info);
    return info.name != nullptr ? info.name : "unknown format";
}

bool IsMpeg(int samples) {
    return samples == SF_FORMAT_MPEG_LAYER_I || samples == SF_FORMAT_MPEG_LAYER_II ||
           samples == SF_FORMAT_MPEG_LAYER_III;
}

bool IsFinerThan16Bit(int samples) {
    return IntegerBits(samples) > 16 || samples == SF_FORMAT_FLOAT || samples == SF_FORMAT_DOUBLE;
}

// The first that the container holds; the last one if none.
void ChooseSamples(SF_INFO &info) {
    const int container = ContainerOf(info.format);
    const int given = SamplesOf(info.format);
    const bool isFine = IsFinerThan16Bit(given), isCoarse = IntegerBits(given) == 8;
    for (const int samples :
         {given, isFine ? SF_FORMAT_PCM_24 : given, isCoarse ? SF_FORMAT_PCM_S8 : given,
          isCoarse ? SF_FORMAT_PCM_U8 : given, int(SF_FORMAT_PCM_16), int(SF_FORMAT_VORBIS),
          int(SF_FORMAT_MPEG_LAYER_III), int(SF_FORMAT_FLOAT), given}) {
        info.format = container | samples;
        if (IsPossible(info))
            return;
    }
}

// Its header says where each channel belongs, and what is wider than 16 bits is not misread.
void ExtendWavHeader(SF_INFO &info) {
    SF_INFO extended = info;
    extended.format = SF_FORMAT_WAVEX | SamplesOf(info.format);
    if ((info.channels > 2 || IntegerBits(info.format) > 16) && IsPossible(extended))
        info = extended;
}

} // namespace

bool IsPossible(const SF_INFO &info) noexcept {
    const bool isMpegInside = IsMpeg(SamplesOf(info.format)) && ContainerOf(info.format) != SF_FORMAT_MPEG;
    return !isMpegInside && sf_format_check(&info) != SF_FALSE;
}

int IntegerBits(int format) noexcept {
    switch (SamplesOf(format)) {
    case SF_FORMAT_FLOAT:
    case SF_FORMAT_DOUBLE:
    case SF_FORMAT_VORBIS:
    case SF_FORMAT_OPUS:
    case SF_FORMAT_MPEG_LAYER_I:
    case SF_FORMAT_MPEG_LAYER_II:
    case SF_FORMAT_MPEG_LAYER_III:
        return 0;
    case SF_FORMAT_PCM_S8:
    case SF_FORMAT_PCM_U8:
    case SF_FORMAT_DPCM_8:
        return 8;
    case SF_FORMAT_DWVW_12:
        return 12;
    case SF_FORMAT_ALAC_20:
        return 20;
    case SF_FORMAT_PCM_24:
    case SF_FORMAT_ALAC_24:
    case SF_FORMAT_DWVW_24:
        return 24;
    case SF_FORMAT_PCM_32:
    case SF_FORMAT_ALAC_32:
        return 32;
    default: // the rest compresses numbers of 16 bits
        return 16;
    }
}

int BytesPerSample(int format) noexcept {
    switch (SamplesOf(format)) {
    case SF_FORMAT_PCM_S8:
    case SF_FORMAT_PCM_U8:
    case SF_FORMAT_ULAW:
    case SF_FORMAT_ALAW:
        return 1;
    case SF_FORMAT_PCM_16:
        return 2;
    case SF_FORMAT_PCM_24:
        return 3;
    case SF_FORMAT_PCM_32:
    case SF_FORMAT_FLOAT:
        return 4;
    case SF_FORMAT_DOUBLE:
        return 8;
    default:
        return 0;
    }
}

bool IsCodedInBlocks(int format) noexcept {
    switch (SamplesOf(format)) {
    case SF_FORMAT_IMA_ADPCM:
    case SF_FORMAT_MS_ADPCM:
    case SF_FORMAT_GSM610:
    case SF_FORMAT_NMS_ADPCM_16:
    case SF_FORMAT_NMS_ADPCM_24:
    case SF_FORMAT_NMS_ADPCM_32:
    case SF_FORMAT_G721_32:
    case SF_FORMAT_G723_24:
    case SF_FORMAT_G723_40:
        return true;
    default:
        return false;
    }
}

bool CanStream(int format) noexcept {
    const int container = ContainerOf(format);
    return HasSizes(format) || container == SF_FORMAT_RAW || container == SF_FORMAT_OGG ||
           container == SF_FORMAT_FLAC;
}

bool HasSizes(int format) noexcept { return IsWav(format) || ContainerOf(format) == SF_FORMAT_AU; }

sf_count_t LargestFile(int format) noexcept {
    const int container = ContainerOf(format);
    if (container == SF_FORMAT_VOC)
        return 0xFFFFFF;
    const bool has32BitSizes = IsWav(format) || container == SF_FORMAT_AIFF || container == SF_FORMAT_SVX;
    return has32BitSizes ? sf_count_t(0xFFFFFFFF) : SF_COUNT_MAX;
}

SF_INFO TargetInfo(const SF_INFO &source, int container, int sampleFormat,
                   const std::filesystem::path &target) {
    SF_INFO info{};
    info.samplerate = source.samplerate;
    info.channels = source.channels;
    info.format = source.format;
    const bool isNewContainer = container != 0 && container != ContainerOf(source.format);
    if (isNewContainer)
        info.format = container | SamplesOf(source.format);
    if (sampleFormat != 0)
        info.format = (info.format & ~SF_FORMAT_SUBMASK) | sampleFormat;
    else if (isNewContainer || !IsPossible(info))
        ChooseSamples(info);
    if (IsWav(info.format) && (isNewContainer || IsStandardStream(target))) {
        info.format &= ~SF_FORMAT_ENDMASK;
        ExtendWavHeader(info);
    }
    if (!IsPossible(info))
        throw FileError(target, NameOf(SamplesOf(info.format)) + " with " + std::to_string(info.channels) +
                                    (info.channels == 1 ? " channel" : " channels") + " does not go into " +
                                    NameOf(ContainerOf(info.format)));
    return info;
}

} // namespace quietfloor
