#include "tools/Program.h"

#include "bytes/Interruption.h"

#include <csignal>
#include <fcntl.h>
#include <iostream>
#ifdef __GLIBC__
#include <malloc.h>
#endif
#include <unistd.h>
#include <vector>

namespace tools {

namespace {

/// Who was started without standard streams would have the first files that it opens in their
/// place.
void fillStandardStreams()
{
    int descriptor = ::open("/dev/null", O_RDWR);
    while (descriptor >= 0 && descriptor <= STDERR_FILENO)
        descriptor = ::open("/dev/null", O_RDWR);
    if (descriptor > STDERR_FILENO)
        ::close(descriptor);
}

/// Compressors take and give back megabytes for each chunk, which costs a bzip2 conversion a
/// thirtieth of its time if the host is asked for them again each time.
void keepFreedMemory()
{
#ifdef __GLIBC__
    constexpr int mappedFrom = 32 << 20;
    constexpr int returnedFrom = 128 << 20;
    ::mallopt(M_MMAP_THRESHOLD, mappedFrom);
    ::mallopt(M_TRIM_THRESHOLD, returnedFrom);
#endif
}

} // namespace

int runProgram(int argc, char* argv[], Command command)
{
    fillStandardStreams();
    keepFreedMemory();
    // A closed pipe and a file that may not grow are failures of a write, like any other.
    std::signal(SIGPIPE, SIG_IGN);
    std::signal(SIGXFSZ, SIG_IGN);
    bytes::endOnSignals();
    std::ios::sync_with_stdio(false);
    const std::vector<std::string> arguments(argv + (argc > 0 ? 1 : 0), argv + argc);
    const int status = command(arguments, std::cout, std::cerr);
    std::cout.flush();
    bytes::waitForSignalInProgress();
    return status;
}

} // namespace tools
