# SPDX-License-Identifier: MIT
# How every file of this project is compiled. Contraction is off and fast-math is never on: a fused
# multiply-add stands where it is written, and the checks for NaN stay.

option(QUIETFLOOR_WERROR "Treat warnings as errors" OFF)
set(QUIETFLOOR_SANITIZE OFF CACHE STRING "The sanitizers: OFF, ON (address, undefined behaviour) or thread")
set_property(CACHE QUIETFLOOR_SANITIZE PROPERTY STRINGS OFF ON thread)

get_property(is_multi_config GLOBAL PROPERTY GENERATOR_IS_MULTI_CONFIG)
if(PROJECT_IS_TOP_LEVEL AND NOT CMAKE_BUILD_TYPE AND NOT is_multi_config)
    set(CMAKE_BUILD_TYPE Release CACHE STRING "Release, Debug or RelWithDebInfo" FORCE)
endif()

set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_CXX_VISIBILITY_PRESET hidden)
set(CMAKE_VISIBILITY_INLINES_HIDDEN ON)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)
set(CMAKE_COMPILE_WARNING_AS_ERROR ${QUIETFLOOR_WERROR})

add_compile_options(-Wall -Wextra -Wpedantic -Wconversion -Wshadow -ffp-contract=off)

if(MINGW)
    add_link_options(-static) # the compiler's own libraries, so that only those of the system are asked for
endif()

if(QUIETFLOOR_SANITIZE)
    set(sanitizers address,undefined)
    if(QUIETFLOOR_SANITIZE STREQUAL "thread") # it goes with no other
        set(sanitizers thread)
    endif()
    # Full debug information of the kernels, which are one large function each, would take minutes.
    add_compile_options(-fsanitize=${sanitizers} -fno-sanitize-recover=all -fno-omit-frame-pointer -g1)
    add_link_options(-fsanitize=${sanitizers})
endif()

if(QUIETFLOOR_BUILD_FUZZERS)
    # A conversion that a value is too large for is undefined too, though the group leaves it out. To
    # trace comparisons takes more than half of the time, and hardly one is with bytes of the input.
    add_compile_options(-fsanitize=fuzzer-no-link,float-cast-overflow -fno-sanitize-coverage=trace-cmp)
endif()
