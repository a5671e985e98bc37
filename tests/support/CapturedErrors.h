#pragma once

#include "support/TextFiles.h"
#include "tools/Descriptor.h"

#include <string>

namespace support
{

/// Captures what the process writes to its standard error descriptor while the
/// object lives: through std::cerr, perror() or stdio.
class CapturedErrors
{
public:
    CapturedErrors();
    ~CapturedErrors();
    CapturedErrors(const CapturedErrors&) = delete;
    CapturedErrors& operator=(const CapturedErrors&) = delete;

    std::string text() const;

private:
    const TemporaryDirectory m_directory;
    const ostrel::Descriptor m_former;
};

/// Also switches the library's debug trace on, unless `isTraced` is false.
class CapturedTrace : public CapturedErrors
{
public:
    explicit CapturedTrace(bool isTraced = true);
    ~CapturedTrace();
};

} // namespace support
