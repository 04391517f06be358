// SPDX-License-Identifier: MIT
#include "tools/sound/SoundFormat.h"

#include <algorithm>
#include <iterator>

#include <sndfile.h>

#include "tools/sound/TargetFormat.h"
#include "tools/system/NativeText.h"

namespace quietfloor {
namespace {

struct Container {
    const char *name;
    int bits;
    std::vector<const char *> extensions; // the usual one first
};

// Where two containers share an extension, the first one is meant by it.
const std::vector<Container> &Containers() {
    static const std::vector<Container> containers{
        {"wav", SF_FORMAT_WAV, {"wav", "wave"}},
        {"wavex", SF_FORMAT_WAVEX, {"wav", "wave"}},
        {"rf64", SF_FORMAT_RF64, {"rf64", "wav"}},
        {"w64", SF_FORMAT_W64, {"w64"}},
        {"aiff", SF_FORMAT_AIFF, {"aiff", "aif", "aifc"}},
        {"au", SF_FORMAT_AU, {"au", "snd"}},
        {"caf", SF_FORMAT_CAF, {"caf"}},
        {"flac", SF_FORMAT_FLAC, {"flac"}},
        {"ogg", SF_FORMAT_OGG, {"ogg", "oga", "opus"}},
        {"mp3", SF_FORMAT_MPEG, {"mp3"}},
        {"nist", SF_FORMAT_NIST, {"nist", "sph"}},
        {"voc", SF_FORMAT_VOC, {"voc"}},
    };
    return containers;
}

constexpr struct SampleFormat {
    const char *name;
    int bits;
} sampleFormats[] = {
    {"pcm16", SF_FORMAT_PCM_16},        {"pcm24", SF_FORMAT_PCM_24},       {"pcm32", SF_FORMAT_PCM_32},
    {"float", SF_FORMAT_FLOAT},         {"double", SF_FORMAT_DOUBLE},      {"pcm8", SF_FORMAT_PCM_S8},
    {"pcmu8", SF_FORMAT_PCM_U8},        {"ulaw", SF_FORMAT_ULAW},          {"alaw", SF_FORMAT_ALAW},
    {"ima-adpcm", SF_FORMAT_IMA_ADPCM}, {"ms-adpcm", SF_FORMAT_MS_ADPCM},  {"gsm610", SF_FORMAT_GSM610},
    {"alac16", SF_FORMAT_ALAC_16},      {"alac24", SF_FORMAT_ALAC_24},     {"vorbis", SF_FORMAT_VORBIS},
    {"opus", SF_FORMAT_OPUS},           {"mp3", SF_FORMAT_MPEG_LAYER_III},
};

std::string ExtensionOf(const std::filesystem::path &file) {
    const std::string text = TextOf(file.extension());
    return text.empty() ? text : LowerCase(text.substr(1));
}

bool HasExtension(const Container &container, const std::string &extension) {
    return std::find(container.extensions.begin(), container.extensions.end(), extension) !=
           container.extensions.end();
}

template <class Rows>
std::vector<std::string> NamesOf(const Rows &rows) {
    std::vector<std::string> names;
    names.reserve(std::size(rows));
    for (const auto &row : rows)
        names.emplace_back(row.name);
    return names;
}

// The library can be built without some containers; sf_format_check does not know of that.
bool IsBuiltIn(int container) {
    int count = 0;
    sf_command(nullptr, SFC_GET_FORMAT_MAJOR_COUNT, &count, sizeof count);
    for (int i = 0; i < count; ++i) {
        SF_FORMAT_INFO info{};
        info.format = i;
        if (sf_command(nullptr, SFC_GET_FORMAT_MAJOR, &info, sizeof info) == 0 && info.format == container)
            return true;
    }
    return false;
}

} // namespace

int FindContainer(std::string_view name) noexcept {
    for (const Container &container : Containers())
        if (name == container.name)
            return container.bits;
    return 0;
}

int FindSampleFormat(std::string_view name) noexcept {
    for (const SampleFormat &format : sampleFormats)
        if (name == format.name)
            return format.bits;
    return 0;
}

bool CanWrite(int container, int sampleFormat) {
    if (!IsBuiltIn(container))
        return false;
    SF_INFO info{};
    info.channels = 1;
    info.samplerate = 48000;
    info.format = container | sampleFormat;
    return sampleFormat == 0 || IsPossible(info);
}

int ContainerOfExtension(const std::filesystem::path &file) {
    const std::string extension = ExtensionOf(file);
    for (const Container &container : Containers())
        if (HasExtension(container, extension))
            return container.bits;
    return 0;
}

bool Fits(int container, const std::filesystem::path &file) {
    const std::string extension = ExtensionOf(file);
    const auto &all = Containers();
    return std::any_of(all.begin(), all.end(), [&](const Container &one) {
        return one.bits == container && HasExtension(one, extension);
    });
}

bool IsOpusName(const std::filesystem::path &file) { return ExtensionOf(file) == "opus"; }

std::string ExtensionFor(int container, int sampleFormat) {
    if (sampleFormat == SF_FORMAT_OPUS)
        return ".opus";
    for (const Container &one : Containers())
        if (one.bits == container)
            return std::string(".") + one.extensions.front();
    return {};
}

std::string FormatText(int format) {
    std::string text = "another container";
    for (const Container &container : Containers())
        if (container.bits == (format & SF_FORMAT_TYPEMASK))
            text = container.name;
    for (const SampleFormat &sampleFormat : sampleFormats)
        if (sampleFormat.bits == (format & SF_FORMAT_SUBMASK))
            text += std::string(" ") + sampleFormat.name;
    return text;
}

std::vector<std::string> ContainerNames() { return NamesOf(Containers()); }
std::vector<std::string> SampleFormatNames() { return NamesOf(sampleFormats); }

} // namespace quietfloor
