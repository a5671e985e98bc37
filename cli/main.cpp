#include "commands/Table.h"
#include "engine/Run.h"

int main(int argc, char* argv[])
{
    return ostrelctl::run(ostrelctl::commandTable(), {argv + 1, argv + argc});
}
