# SPDX-License-Identifier: MIT
# Toolchain file: from Linux for 64-bit Windows, with Debian's mingw-w64 and Wine.
set(CMAKE_SYSTEM_NAME Windows)
set(CMAKE_SYSTEM_PROCESSOR x86_64)

# Threads as the standard library wants them come with the -posix variant only.
set(CMAKE_C_COMPILER x86_64-w64-mingw32-gcc-posix)
set(CMAKE_CXX_COMPILER x86_64-w64-mingw32-g++-posix)
set(CMAKE_RC_COMPILER x86_64-w64-mingw32-windres)
set(binutils x86_64-w64-mingw32-) # what the names of nm and objdump begin with

# Libraries that scripts/windows-libraries has built; nothing of the building system's own.
cmake_path(GET CMAKE_CURRENT_LIST_DIR PARENT_PATH windows_root)
set(windows_libraries ${windows_root}/build/windows-libraries/prefix)
set(CMAKE_FIND_ROOT_PATH /usr/x86_64-w64-mingw32 ${windows_libraries})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)
set(ENV{PKG_CONFIG_LIBDIR} ${windows_libraries}/lib/pkgconfig)
set(PKG_CONFIG_ARGN --static) # with what they are made of

# Debian puts the 64-bit Wine there and not on the path. What it keeps stays out of the home folder.
set(CMAKE_CROSSCOMPILING_EMULATOR
    env WINEDEBUG=-all WINEPREFIX=${windows_root}/build/wine /usr/lib/wine/wine64)
