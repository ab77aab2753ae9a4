#include "syspaths.h"

#include <array>
#include <cstdio>

int main()
{
    std::array<char, SYS_MAX_PATH> path;
    SYS_ModulePath(path.data(), SYS_MAX_PATH);
    std::puts(path.data());
    SYS_ModuleDirectory(path.data(), SYS_MAX_PATH);
    std::puts(path.data());
    return 0;
}
