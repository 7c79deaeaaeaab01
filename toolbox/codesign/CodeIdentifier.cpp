#include "codesign/CodeIdentifier.h"

#include <cctype>

namespace codesign {

namespace {

bool isDigit(char c)
{
    return std::isdigit(static_cast<unsigned char>(c)) != 0;
}

} // namespace

std::string identifierFromFileName(const std::string& fileName)
{
    std::string name = fileName;
    const std::size_t dot = name.rfind('.');
    if (dot != std::string::npos && dot > 0 && (dot + 1 == name.size() || !isDigit(name[dot + 1])))
        name.erase(dot);

    // A name that is nothing but a version stays as it is.
    if (name.empty() || isDigit(name[0]) || name[0] == '.')
        return name;
    const std::size_t last = name.find_last_not_of("0123456789.");
    std::size_t end = last == std::string::npos ? 0 : last + 1;
    if (end == name.size())
        return name;
    if (name[end] == '.')
        ++end;
    while (end < name.size() && isDigit(name[end]))
        ++end;
    name.erase(end);
    return name;
}

} // namespace codesign
