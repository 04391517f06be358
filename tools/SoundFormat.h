/// Names of containers and sample formats, and the extensions of files that hold them. Formats are
/// libsndfile's: a container in the bits of SF_FORMAT_TYPEMASK, a sample format in those of
/// SF_FORMAT_SUBMASK.
#ifndef QUIETFLOOR_TOOLS_SOUNDFORMAT_H
#define QUIETFLOOR_TOOLS_SOUNDFORMAT_H

#include <filesystem>
#include <string>
#include <string_view>

namespace quietfloor {

/// 0 if there is no such name.
int FindContainer(std::string_view name) noexcept;
int FindSampleFormat(std::string_view name) noexcept;

/// Whether the sound library writes this; a sample format of 0 stands for any.
bool CanWrite(int container, int sampleFormat);

/// The container that files of this extension have, in either case of letters; 0 if nobody knows.
int ContainerOfExtension(const std::filesystem::path &file);

/// Whether a file that holds this container may bear the extension of `file`.
bool Fits(int container, const std::filesystem::path &file);

/// Whether the extension says that a file holds Opus.
bool IsOpusName(const std::filesystem::path &file);

/// The usual extension, with its dot, of a named container.
std::string ExtensionFor(int container, int sampleFormat);

/// "wav pcm16", for people.
std::string FormatText(int format);

/// The containers that can be written, each with its sample formats: a line of names, or an object in a JSON
/// array.
std::string FormatList(bool isJson);

/// The names alone, with commas.
std::string ContainerNames();
std::string SampleFormatNames();

} // namespace quietfloor

#endif
