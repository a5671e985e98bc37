#include "Manual.h"

#include <iostream>

int main()
{
    std::cout << ostrelctl::manual();
}
