# SPDX-License-Identifier: MIT
# Processor levels: each file of levels/ is compiled with its level's own flags, and simd/LevelIndex.cpp
# chooses at load which of them runs. Processors other than 64-bit x86 have the portable level alone.

# The vector type shuffles by __builtin_shufflevector, and a level's table is constinit.
set(oldest_GNU 12)
set(oldest_Clang 13)
set(oldest_AppleClang 13.1)
set(oldest oldest_${CMAKE_CXX_COMPILER_ID})
if(NOT DEFINED ${oldest} OR CMAKE_CXX_COMPILER_VERSION VERSION_LESS ${${oldest}})
    message(FATAL_ERROR "The library is compiled by GCC from 12 on or Clang from 13 on, for their vector "
        "extensions; ${CMAKE_CXX_COMPILER_ID} ${CMAKE_CXX_COMPILER_VERSION} can use its headers and link to it "
        "through the C interface.")
endif()

set(QUIETFLOOR_LEVEL best CACHE STRING "The highest level that is chosen: best, avx2 or portable")
set_property(CACHE QUIETFLOOR_LEVEL PROPERTY STRINGS best avx2 portable)

set(avx2 -mavx2 -mfma)
set(avx512 -mavx512f -mavx512dq -mavx512vl ${avx2})
if(MINGW AND CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
    # The stack of 64-bit Windows is aligned to 16 bytes, and GCC does not align it further for wider
    # vectors although it spills them by aligned moves.
    list(APPEND avx2 -Wa,-muse-unaligned-vector-move)
    list(APPEND avx512 -Wa,-muse-unaligned-vector-move)
endif()
# A square root that sets errno is a function of the C library for each lane.
set(effort -fno-math-errno)
if(QUIETFLOOR_SANITIZE)
    list(APPEND effort -O1) # with every access checked, the straight-line kernels take minutes at more
endif()

# A level's file alone may use that level's instructions, so nothing of it may end up in a unity file or
# see another file's precompiled header.
set(level_sources)
function(level file)
    list(APPEND level_sources levels/${file})
    set(level_sources ${level_sources} PARENT_SCOPE)
    set_source_files_properties(levels/${file} PROPERTIES
        COMPILE_OPTIONS "${ARGN}" SKIP_UNITY_BUILD_INCLUSION ON SKIP_PRECOMPILE_HEADERS ON)
endfunction()
level(Portable.cpp ${effort})
if(CMAKE_SYSTEM_PROCESSOR MATCHES "^(x86_64|AMD64)$")
    level(Avx2.cpp ${avx2} ${effort})
    level(Avx512.cpp ${avx512} ${effort})
endif()

set(limit_best kAvx512Slot)
set(limit_avx2 kAvx2Slot)
set(limit_portable kPortableSlot)
if(NOT DEFINED limit_${QUIETFLOOR_LEVEL})
    message(FATAL_ERROR "QUIETFLOOR_LEVEL is best, avx2 or portable, not ${QUIETFLOOR_LEVEL}")
endif()
set_source_files_properties(simd/LevelIndex.cpp PROPERTIES
    COMPILE_DEFINITIONS QUIETFLOOR_SLOT_LIMIT=${limit_${QUIETFLOOR_LEVEL}})
