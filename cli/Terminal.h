#pragma once

#include <cstddef>
#include <string>

namespace ostrelctl
{

/// What is at the far end of an output stream.
struct Terminal {
    bool isTerminal = false;
    bool hasColour = false;
    /// Characters in a line; 0 when there is no limit.
    std::size_t width = 0;
};

/// "auto", "always" or "never": colour on a terminal alone, and not where the
/// environment has NO_COLOR. Width is a terminal's own.
Terminal terminalAt(int descriptor, const std::string& colour);

enum class Colour { None, Red, Yellow, Bold };

/// `text` in a colour, where the terminal has any.
std::string coloured(const std::string& text, Colour colour, const Terminal& terminal);

} // namespace ostrelctl
