#include "tools/Program.h"
#include "tools/Stapler.h"

int main(int argc, char* argv[])
{
    return tools::runProgram(argc, argv, tools::stapler);
}
