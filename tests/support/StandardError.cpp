#include "support/StandardError.h"

#include <cstdio>
#include <iostream>

namespace support
{

namespace
{

void flush()
{
    std::cerr.flush();
    std::fflush(stderr);
}

} // namespace

CapturedStandardError::CapturedStandardError() : m_former(::dup(STDERR_FILENO))
{
    flush();
    const ostrel::Descriptor file =
        ostrel::Descriptor::open(m_directory / "stderr", O_WRONLY | O_CREAT | O_APPEND, 0600);
    ::dup2(file.get(), STDERR_FILENO);
}

CapturedStandardError::~CapturedStandardError()
{
    flush();
    ::dup2(m_former.get(), STDERR_FILENO);
}

std::string CapturedStandardError::text() const
{
    flush();
    return readText(m_directory / "stderr");
}

} // namespace support
