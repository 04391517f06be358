# Processor levels: each file of kernels is compiled with its level's own flags, and one file chooses at
# load which of them run.

set(QUIETFLOOR_LEVEL best CACHE STRING "The highest level that is chosen: best, avx2 or generic")
set_property(CACHE QUIETFLOOR_LEVEL PROPERTY STRINGS best avx2 generic)

# A level's file alone may use that level's instructions, so nothing of it may end up in a unity file or
# see another file's precompiled header.
function(engine_level file)
    set_source_files_properties(fft/engine/${file} PROPERTIES
        COMPILE_OPTIONS "${ARGN}" SKIP_UNITY_BUILD_INCLUSION ON SKIP_PRECOMPILE_HEADERS ON)
endfunction()

if(MSVC)
    set(avx2 /arch:AVX2)
    set(avx512 /arch:AVX512)
else()
    set(avx2 -mavx2 -mfma)
    set(avx512 -mavx512f -mavx512dq -mavx512vl ${avx2})
endif()
if(MINGW AND CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
    # The stack of 64-bit Windows is aligned to 16 bytes, and GCC does not align it further for wider
    # vectors although it spills them by aligned moves.
    list(APPEND avx2 -Wa,-muse-unaligned-vector-move)
    list(APPEND avx512 -Wa,-muse-unaligned-vector-move)
endif()
set(effort)
if(QUIETFLOOR_SANITIZE)
    set(effort -O1) # with every access checked, the straight-line kernels take minutes at more
endif()
engine_level(LevelGeneric.cpp ${effort})
engine_level(LevelAvx2.cpp ${avx2} ${effort})
engine_level(LevelAvx512.cpp ${avx512} ${effort})

set(slot_of_best 5)
set(slot_of_avx2 4)
set(slot_of_generic 0)
if(NOT DEFINED slot_of_${QUIETFLOOR_LEVEL})
    message(FATAL_ERROR "QUIETFLOOR_LEVEL is best, avx2 or generic, not ${QUIETFLOOR_LEVEL}")
endif()
set_source_files_properties(fft/engine/Dispatch.cpp PROPERTIES
    COMPILE_DEFINITIONS QUIETFLOOR_SLOT_LIMIT=${slot_of_${QUIETFLOOR_LEVEL}})
