#include "tools/Program.h"
#include "tools/Security.h"

int main(int argc, char* argv[])
{
    return tools::runProgram(argc, argv, tools::security);
}
