# The language, the warnings that end a build, the sanitizers.

set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)

option(VANDOR_SANITIZE "Build with the address and undefined-behaviour sanitizers" OFF)

# Large units compile three times sooner in all, but forgive a missing include and want the names of
# a room's anonymous namespaces to differ: the other presets compile file by file.
option(VANDOR_LARGE_UNITS "Compile the sources of a room several at a time" OFF)

if(NOT CMAKE_BUILD_TYPE)
    set(CMAKE_BUILD_TYPE Release)
endif()

# Most rooms wait for tools, disks and people, and compile a fifth sooner so; those that work on
# every byte say FAST (see cmake/Rooms.cmake).
set(CMAKE_CXX_FLAGS_RELEASE "-O1 -DNDEBUG")

# Files of more than 2 GiB on every host.
add_compile_definitions(_FILE_OFFSET_BITS=64)

# Linked into every target of ours, and into none of a library's.
add_library(vandor_options INTERFACE)
target_compile_options(vandor_options INTERFACE
    -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Werror)

# Two of the warnings mean something only where every file is compiled by itself.
target_compile_options(vandor_options INTERFACE
    "$<$<BOOL:$<TARGET_PROPERTY:UNITY_BUILD>>:-Wno-shadow;-Wno-subobject-linkage>")

if(CMAKE_CXX_COMPILER_ID STREQUAL GNU AND CMAKE_CXX_COMPILER_VERSION VERSION_LESS 13)
    # g++ 12 warns of overlapping copies in the standard library's own string concatenation.
    target_compile_options(vandor_options INTERFACE -Wno-restrict)
endif()

if(CMAKE_CXX_COMPILER_ID MATCHES "Clang")
    # Part of -Wconversion there, but not with g++, whose warnings are the measure.
    target_compile_options(vandor_options INTERFACE -Wno-sign-conversion)
endif()

if(VANDOR_SANITIZE)
    # Line numbers for the reports; more only makes the build slower.
    set(CMAKE_CXX_FLAGS_DEBUG "-g1")
    add_compile_options(-fsanitize=address,undefined -fno-sanitize-recover=undefined
        -fno-omit-frame-pointer)
    add_link_options(-fsanitize=address,undefined)
    if(CMAKE_CXX_COMPILER_ID MATCHES "Clang")
        # Coroutine frames trip clang 14's function check.
        add_compile_options(-fno-sanitize=function)
    endif()
endif()
