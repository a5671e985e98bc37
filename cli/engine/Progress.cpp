#include "engine/Progress.h"

#include "engine/Output.h"

#include <unistd.h>

namespace ostrelctl
{

namespace
{

const char* const emptyLine = "\r\033[K";

} // namespace

Progress::Progress() : m_isTerminal(::isatty(STDERR_FILENO) == 1) {}

Progress::~Progress()
{
    if (m_isTerminal) {
        writeErrors(emptyLine);
    }
}

void Progress::show(const std::string& text) const
{
    if (m_isTerminal) {
        writeErrors(emptyLine + text);
    }
}

} // namespace ostrelctl
