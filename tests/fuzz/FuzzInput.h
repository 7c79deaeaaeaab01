#pragma once

#include "bytes/FormatError.h"

#include <cstddef>
#include <cstdlib>
#include <iostream>
#include <map>
#include <span>
#include <string>
#include <string_view>
#include <vector>

/// What the fuzz targets share. A target is one function: it hands its input to a reader, and
/// whatever the input is, the reader ends with a value or with one of the exceptions that its
/// header names. Everything else ends the process, which is how a fault is found.
namespace fuzz {

using Target = void (*)(std::span<const std::byte> input);

/// The targets that are linked into this program: one in a fuzzer, all in the replay.
std::map<std::string, Target>& targets();

inline std::vector<std::byte> copyOf(std::span<const std::byte> input)
{
    return {input.begin(), input.end()};
}

inline std::string textOf(std::span<const std::byte> input)
{
    return {reinterpret_cast<const char*>(input.data()), input.size()};
}

/// How often readers have refused their input. A corpus file called `sound-...` must not raise it:
/// a seed that is turned away at the door says nothing about what lies behind.
inline int refusals = 0;

/// True when `read` came to its end, false for a FormatError or one of the `Errors`.
template <typename... Errors, typename Read>
bool accepts(const Read& read);

template <typename Error, typename... Others, typename Read>
bool acceptsBut(const Read& read)
{
    try {
        if constexpr (sizeof...(Others) == 0)
            read();
        else
            return acceptsBut<Others...>(read);
        return true;
    } catch (const Error&) {
        ++refusals;
        return false;
    }
}

template <typename... Errors, typename Read>
bool accepts(const Read& read)
{
    return acceptsBut<bytes::FormatError, Errors...>(read);
}

/// For what must hold of any input, e.g. that what was read and written reads as the same.
inline void insist(bool holds, const char* what)
{
    if (holds)
        return;
    std::cerr << "does not hold: " << what << '\n';
    std::abort();
}

} // namespace fuzz

/// Begins the target `name`, whose corpus lies in corpora/NAME; `input` is its parameter.
#define FUZZ_TARGET(name, input)                                                                   \
    static void name##Target(std::span<const std::byte>);                                          \
    static const bool name##Added = fuzz::targets().emplace(#name, name##Target).second;           \
    static void name##Target([[maybe_unused]] std::span<const std::byte> input)
