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

void traceParts(std::initializer_list<std::string_view> parts) noexcept
{
    try {
        std::string line;
        for (const std::string_view part : parts) {
            line.append(part);
        }
        writeTraceLine(line);
    } catch (...) {
    }
}

} // namespace ostrel
