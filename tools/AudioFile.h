/// Sound files, read and written block by block.
#ifndef QUIETFLOOR_TOOLS_AUDIOFILE_H
#define QUIETFLOOR_TOOLS_AUDIOFILE_H

#include "tools/AudioReader.h" // IWYU pragma: export
#include "tools/AudioWriter.h" // IWYU pragma: export
#include "tools/FileError.h"   // IWYU pragma: export

#endif
