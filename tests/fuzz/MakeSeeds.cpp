// Makes the seeds of every target anew with the project's own writers: `fuzz_seeds FOLDER`. Keys
// and certificates are drawn at random, so that files with them differ each time.

#include "Seeds.h"

#include <iostream>

int main(int argc, char** argv)
{
    if (argc != 2) {
        std::cerr << "usage: fuzz_seeds FOLDER\n";
        return 2;
    }
    try {
        const fuzz::Seeds seeds(argv[1]);
        fuzz::addCodeSeeds(seeds);
        fuzz::addFinderSeeds(seeds);
        fuzz::addImageSeeds(seeds);
    } catch (const std::exception& error) {
        std::cerr << "fuzz_seeds: " << error.what() << '\n';
        return 1;
    }
}
