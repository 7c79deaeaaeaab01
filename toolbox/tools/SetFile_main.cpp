#include "tools/Program.h"
#include "tools/SetFile.h"

int main(int argc, char* argv[])
{
    return tools::runProgram(argc, argv, tools::setFile);
}
