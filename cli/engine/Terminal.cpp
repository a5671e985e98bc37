#include "engine/Terminal.h"

#include <cstdlib>

#include <sys/ioctl.h>
#include <unistd.h>

namespace ostrelctl
{

namespace
{

std::size_t widthAt(int descriptor)
{
    winsize size{};
    return ::ioctl(descriptor, TIOCGWINSZ, &size) == 0 ? size.ws_col : 0U;
}

bool isColourWanted(bool isTerminal, const std::string& colour)
{
    if (colour != "auto") {
        return colour == "always";
    }
    const char* refusal = std::getenv("NO_COLOR");
    return isTerminal && (refusal == nullptr || *refusal == '\0');
}

const char* codeOf(Colour colour)
{
    switch (colour) {
    case Colour::Red:
        return "\033[31m";
    case Colour::Yellow:
        return "\033[33m";
    case Colour::Bold:
        return "\033[1m";
    default:
        return "";
    }
}

} // namespace

Terminal terminalAt(int descriptor, const std::string& colour)
{
    const bool isTerminal = ::isatty(descriptor) == 1;
    return {isTerminal, isColourWanted(isTerminal, colour), isTerminal ? widthAt(descriptor) : 0U};
}

std::string coloured(const std::string& text, Colour colour, const Terminal& terminal)
{
    const bool isPlain = !terminal.hasColour || colour == Colour::None || text.empty();
    return isPlain ? text : codeOf(colour) + text + "\033[0m";
}

} // namespace ostrelctl
