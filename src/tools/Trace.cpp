#include "tools/Trace.h"

#include <iostream>

namespace ostrel
{

std::atomic<bool> gDebug{false};

void writeTraceLine(const std::string& line)
{
    // One insertion, so that lines of several threads do not mix.
    std::cerr << line + '\n' << std::flush;
}

} // namespace ostrel
