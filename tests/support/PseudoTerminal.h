#pragma once

#include <string>
#include <vector>

namespace support
{

/// What a person types once the terminal has shown `after` since the last
/// input.
struct Keys {
    std::string after;
    std::string keys;
};

/// What a program shows on a terminal with `width` columns, standard output and
/// error mixed, and its exit status.
struct ShownProgram {
    int status;
    std::string text;
};
ShownProgram runOnTerminal(const std::vector<std::string>& words, unsigned short width = 80,
                           const std::vector<Keys>& dialogue = {});

} // namespace support
