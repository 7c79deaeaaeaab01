#include "udif/ImageFormat.h"

#include "udif/ImageError.h"

#include <algorithm>
#include <cassert>
#include <cctype>

namespace udif {

const FormatFacts& factsOf(ImageFormat format)
{
    const auto row = std::ranges::find(formats, format, &FormatFacts::format);
    assert(row != formats.end());
    return *row;
}

const FormatFacts& formatNamed(std::string_view code)
{
    const auto same = [](char left, char right) {
        return std::toupper(static_cast<unsigned char>(left)) == right;
    };
    for (const FormatFacts& row : formats)
        if (std::ranges::equal(code, row.code, same))
            return row;
    throw ImageError(ImageError::Case::unknownFormat, std::string(code));
}

void requireWritable(ImageFormat format)
{
    const FormatFacts& facts = factsOf(format);
    if (!facts.writable)
        throw ImageError(ImageError::Case::formatNotWritable, std::string(facts.code));
}

} // namespace udif
