#pragma once

#include <cstddef>
#include <string>

namespace ostrelctl
{

/// What an output stream leads to.
struct Terminal {
    bool isTerminal = false;
    bool hasColour = false;
    /// Characters in a line; 0 when there is no limit.
    std::size_t width = 0;
};

/// `colour` is "always", "never", or "auto" for colours on terminals only, and
/// without NO_COLOR in the environment. Only a terminal has a width.
Terminal terminalAt(int descriptor, const std::string& colour);

enum class Colour { None, Red, Yellow, Bold };

/// `text` in a colour, if the terminal has colours.
std::string coloured(const std::string& text, Colour colour, const Terminal& terminal);

} // namespace ostrelctl
