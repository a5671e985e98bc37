#include "Program.h"

int main(int argc, char* argv[])
{
    return ostrelctl::run({argv + 1, argv + argc});
}
