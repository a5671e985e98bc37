#pragma once

#include <sstream>
#include <string>

namespace support
{

/// Takes what the process writes to std::cerr while the object lives.
class CapturedErrors
{
public:
    CapturedErrors();
    ~CapturedErrors();
    CapturedErrors(const CapturedErrors&) = delete;
    CapturedErrors& operator=(const CapturedErrors&) = delete;

    std::string text() const { return m_text.str(); }

private:
    std::ostringstream m_text;
    std::streambuf* m_former;
};

/// The same with the library's debug trace on.
class CapturedTrace : public CapturedErrors
{
public:
    CapturedTrace();
    ~CapturedTrace();
};

} // namespace support
