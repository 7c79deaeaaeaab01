#include "tools/Program.h"
#include "tools/Spctl.h"

int main(int argc, char* argv[])
{
    return tools::runProgram(argc, argv, tools::spctl);
}
