#include "FuzzInput.h"

#include "macfile/ResourceFork.h"

using namespace macfile;

FUZZ_TARGET(resource_fork, input)
{
    isFillerFork(input);
    fuzz::accepts([&] {
        const std::vector<Resource> resources = readResourceFork(input);
        // Resources of one type are put together, so that only the second writing is the same.
        const auto sorted = readResourceFork(writeResourceFork(resources));
        fuzz::insist(sorted.size() == resources.size(), "no resource is lost");
        fuzz::insist(readResourceFork(writeResourceFork(sorted)) == sorted,
            "a fork that was written reads as the same");
    });
}
