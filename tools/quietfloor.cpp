// The command-line program: quietfloor IN OUT.
#include <filesystem>
#include <string>
#include <vector>

#include "tools/NativeText.h"
#include "tools/Program.h"

namespace {

template <class Char>
std::vector<std::string> Texts(int count, Char **words) {
    std::vector<std::string> texts;
    for (int i = 1; i < count; ++i)
        texts.push_back(quietfloor::TextOf(std::filesystem::path(words[i])));
    return texts;
}

} // namespace

#if defined(_WIN32)

#if defined(__MINGW32__)
extern "C" {
int _dowildcard = -1; // *.wav becomes the files' names: the command prompt leaves that to programs
}
#endif

// The narrow main gets names without the letters that the system's code page lacks.
int wmain(int argc, wchar_t **argv) { return quietfloor::RunProgram(Texts(argc, argv)); }

#else

int main(int argc, char **argv) { return quietfloor::RunProgram(Texts(argc, argv)); }

#endif
