#include "base/Log.h"

#include <algorithm>
#include <iostream>

namespace ostreld
{

std::atomic<bool> gVerbose{false};

bool isControlCharacter(char c)
{
    return static_cast<unsigned char>(c) < ' ' || c == '\x7f';
}

void writeLogLine(const std::string& line)
{
    // What a client sent may stand in the line: it must not forge another one.
    std::string text = "ostreld: " + line;
    std::replace_if(text.begin(), text.end(), isControlCharacter, '?');
    std::cerr << text + '\n' << std::flush;
}

} // namespace ostreld
