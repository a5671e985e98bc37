#pragma once

#include "support/TextFiles.h"
#include "tools/Descriptor.h"

#include <string>

namespace support
{

/// Takes what the process writes to its standard error descriptor while the
/// object lives, by whatever means: std::cerr, perror(), stdio.
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

/// The same with the library's debug trace on, unless it is told otherwise.
class CapturedTrace : public CapturedErrors
{
public:
    explicit CapturedTrace(bool isTraced = true);
    ~CapturedTrace();
};

} // namespace support
