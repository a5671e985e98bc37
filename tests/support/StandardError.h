#pragma once

#include "support/TextFiles.h"
#include "tools/Descriptor.h"

#include <string>

namespace support
{

/// Takes what the process writes to its standard error descriptor while the
/// object lives, by whatever means: perror(), stdio, std::cerr.
class CapturedStandardError
{
public:
    CapturedStandardError();
    ~CapturedStandardError();
    CapturedStandardError(const CapturedStandardError&) = delete;
    CapturedStandardError& operator=(const CapturedStandardError&) = delete;

    std::string text() const;

private:
    const TemporaryDirectory m_directory;
    const ostrel::Descriptor m_former;
};

} // namespace support
