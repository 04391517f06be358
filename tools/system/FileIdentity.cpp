// SPDX-License-Identifier: MIT
#include "tools/system/FileIdentity.h"

#include "tools/system/NativeText.h"

namespace fs = std::filesystem;

namespace quietfloor {
namespace {

#if defined(_WIN32) || defined(__APPLE__)
constexpr bool namesIgnoreCase = true;
#else
constexpr bool namesIgnoreCase = false;
#endif

} // namespace

fs::path CanonicalPath(const fs::path &file) {
    std::error_code failure;
    const fs::path canonical = fs::weakly_canonical(fs::absolute(file), failure);
    return failure ? fs::absolute(file) : canonical;
}

fs::path FileIdentity(const fs::path &file) {
    const fs::path canonical = CanonicalPath(file);
    return namesIgnoreCase ? PathOf(LowerCase(TextOf(canonical))) : canonical;
}

} // namespace quietfloor
