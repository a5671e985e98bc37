#include "commands/Table.h"
#include "engine/Manual.h"

#include <iostream>

int main()
{
    std::cout << ostrelctl::manual(ostrelctl::commandTable());
}
