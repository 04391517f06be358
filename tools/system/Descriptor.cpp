// SPDX-License-Identifier: MIT
#include "tools/system/Descriptor.h"

#include <algorithm>
#include <cerrno>

#include "tools/system/DescriptorCalls.h"

namespace quietfloor {

std::size_t ReadAll(int descriptor, void *bytes, std::size_t count) {
    std::size_t done = 0;
    while (done < count && AwaitReadable(descriptor)) {
        const std::int64_t some =
            ReadSome(descriptor, static_cast<char *>(bytes) + done, std::min(count - done, largestCall));
        if (some < 0 && errno == EINTR)
            continue;
        if (some <= 0)
            break;
        done += static_cast<std::size_t>(some);
    }
    return done;
}

bool WriteAll(int descriptor, const void *bytes, std::size_t count) {
    for (std::size_t done = 0; done < count;) {
        if (!AwaitWritable(descriptor))
            return false;
        const std::int64_t some = WriteSome(descriptor, static_cast<const char *>(bytes) + done,
                                            std::min(count - done, largestCall));
        if (some < 0 && errno == EINTR)
            continue;
        if (some <= 0)
            return false;
        done += static_cast<std::size_t>(some);
    }
    return true;
}

} // namespace quietfloor
