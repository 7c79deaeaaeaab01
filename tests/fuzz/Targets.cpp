#include "FuzzInput.h"

namespace fuzz {

std::map<std::string, Target>& targets()
{
    static std::map<std::string, Target> known;
    return known;
}

} // namespace fuzz
