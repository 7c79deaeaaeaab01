#include "tools/FsckHfs.h"
#include "tools/Program.h"

int main(int argc, char* argv[])
{
    return tools::runProgram(argc, argv, tools::fsckHfs);
}
