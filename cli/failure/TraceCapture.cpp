#include "failure/TraceCapture.h"

#include <ostrel/Debug.h>

#include <iostream>

namespace ostrelctl
{

TraceCapture::TraceCapture(bool isShown)
{
    ostrel::gDebug = true;
    if (!isShown) {
        m_former = std::cerr.rdbuf(m_text.rdbuf());
    }
}

TraceCapture::~TraceCapture()
{
    if (m_former != nullptr) {
        std::cerr.rdbuf(m_former);
    }
    ostrel::gDebug = false;
}

std::string TraceCapture::reason() const
{
    std::istringstream lines(m_text.str());
    std::string last;
    for (std::string line; std::getline(lines, line);) {
        // What was sent is no reason, and may be long.
        if (line.rfind("Commands::", 0) != 0 && line.rfind("value for ", 0) != 0) {
            last = line;
        }
    }
    return last;
}

} // namespace ostrelctl
