#include "tools/Program.h"

#include "bytes/Interruption.h"

#include <csignal>
#include <iostream>
#include <vector>

namespace tools {

int runProgram(int argc, char* argv[], Command command)
{
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
