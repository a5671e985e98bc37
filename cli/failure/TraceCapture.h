#pragma once

#include <sstream>
#include <string>

namespace ostrelctl
{

/// Keeps the library's trace, which alone tells why a call of return code 1
/// failed; with --debug it goes to the standard error stream instead.
class TraceCapture
{
public:
    explicit TraceCapture(bool isShown);
    ~TraceCapture();
    TraceCapture(const TraceCapture&) = delete;
    TraceCapture& operator=(const TraceCapture&) = delete;

    /// The last line that tells a reason; empty when there is none.
    std::string reason() const;

private:
    std::ostringstream m_text;
    std::streambuf* m_former = nullptr;
};

} // namespace ostrelctl
