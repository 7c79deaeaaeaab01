#include "FuzzInput.h"

#include "finder/Bookmark.h"

FUZZ_TARGET(bookmark, input)
{
    fuzz::accepts([&] { finder::readBookmark(input); });
}
