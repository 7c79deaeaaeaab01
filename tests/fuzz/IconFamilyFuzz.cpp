#include "FuzzInput.h"

#include "finder/IconFamily.h"

FUZZ_TARGET(icon_family, input)
{
    fuzz::accepts([&] {
        std::size_t bytesOfPictures = 0;
        for (const finder::IconElement& element : finder::readIconFamily(input))
            bytesOfPictures += element.data.size();
        fuzz::insist(bytesOfPictures <= input.size(), "pictures lie in the file");
        finder::isIconFamily(input);
    });
}
