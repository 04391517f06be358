/// What libsndfile notices in a file's header and tells nobody but its log.
#ifndef QUIETFLOOR_TOOLS_HEADERLOG_H
#define QUIETFLOOR_TOOLS_HEADERLOG_H

#include <string>

#include <sndfile.h>

namespace quietfloor {

class HeaderLog {
public:
    /// Of a file that was just opened for reading.
    explicit HeaderLog(SNDFILE *file);

    /// Whether there should be more of the file; libsndfile takes it for a shorter one.
    bool SaysCutOff() const;

    /// Whether the last of the frames counted in `info` is no sound, but the byte that makes a chunk of an
    /// AIFF or 8SVX file even, or the one that ends a VOC file.
    bool SaysPadded(const SF_INFO &info) const;

private:
    bool States(const std::string &line, sf_count_t number) const;

    std::string text;
};

} // namespace quietfloor

#endif
