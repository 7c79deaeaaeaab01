#include "tools/Xcrun.h"

int main(int argc, char* argv[])
{
    return tools::xcrun(argc, argv);
}
