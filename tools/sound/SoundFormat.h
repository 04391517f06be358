// SPDX-License-Identifier: MIT
/// Names of containers and sample formats, and the extensions of files that hold them. Formats are
/// libsndfile's: a container in the bits of SF_FORMAT_TYPEMASK, a sample format in those of
/// SF_FORMAT_SUBMASK.
#ifndef QUIETFLOOR_TOOLS_SOUND_SOUNDFORMAT_H
#define QUIETFLOOR_TOOLS_SOUND_SOUNDFORMAT_H

#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

namespace quietfloor {

/// 0 if there is no such name.
int FindContainer(std::string_view name) noexcept;
int FindSampleFormat(std::string_view name) noexcept;

/// Whether the sound library writes this; a sample format of 0 stands for any.
bool CanWrite(int container, int sampleFormat);

/// The container that a file's extension stands for, in upper or lower case; 0 if unknown.
int ContainerOfExtension(const std::filesystem::path &file);

/// Whether a file that holds this container may have the extension of `file`.
bool Fits(int container, const std::filesystem::path &file);

/// Whether the extension says that a file holds Opus.
bool IsOpusName(const std::filesystem::path &file);

/// The usual extension, with its dot, of a named container.
std::string ExtensionFor(int container, int sampleFormat);

/// "wav pcm16", for people.
std::string FormatText(int format);

std::vector<std::string> ContainerNames();
std::vector<std::string> SampleFormatNames();

} // namespace quietfloor

#endif
