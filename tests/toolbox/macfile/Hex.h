#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

/// Bytes from hexadecimal digits; blanks are skipped.
inline std::vector<std::byte> fromHex(std::string_view digits)
{
    std::string pairs;
    for (const char c : digits)
        if (c != ' ' && c != '\n')
            pairs += c;
    std::vector<std::byte> out;
    for (std::size_t i = 0; i + 1 < pairs.size(); i += 2)
        out.push_back(static_cast<std::byte>(std::stoi(pairs.substr(i, 2), nullptr, 16)));
    return out;
}

inline std::vector<std::byte> fromText(std::string_view text)
{
    std::vector<std::byte> out;
    for (const char c : text)
        out.push_back(static_cast<std::byte>(c));
    return out;
}
