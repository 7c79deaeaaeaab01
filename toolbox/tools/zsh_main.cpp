#include "tools/Zsh.h"

int main(int argc, char* argv[], char* environment[])
{
    return tools::zsh(argc, argv, environment);
}
