#pragma once

#include <string>
#include <vector>

namespace support
{

/// What a person types, once the terminal has shown `after` since they typed last.
struct Keys {
    std::string after;
    std::string keys;
};

/// What a program shows on a terminal of `width` characters in a line, its
/// standard output and error streams in one, and the exit status it ends with.
struct ShownProgram {
    int status;
    std::string text;
};
ShownProgram runOnTerminal(const std::vector<std::string>& words, unsigned short width = 80,
                           const std::vector<Keys>& dialogue = {});

} // namespace support
