#include "support/CapturedErrors.h"

#include <ostrel/Debug.h>

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

CapturedErrors::CapturedErrors()
    : m_former(::fcntl(STDERR_FILENO, F_DUPFD_CLOEXEC, STDERR_FILENO + 1))
{
    flush();
    const ostrel::Descriptor file =
        ostrel::Descriptor::open(m_directory / "stderr", O_WRONLY | O_CREAT | O_APPEND, 0600);
    ::dup2(file.get(), STDERR_FILENO);
}

CapturedErrors::~CapturedErrors()
{
    flush();
    ::dup2(m_former.get(), STDERR_FILENO);
}

std::string CapturedErrors::text() const
{
    flush();
    return readText(m_directory / "stderr");
}

CapturedTrace::CapturedTrace(bool isTraced)
{
    ostrel::gDebug = isTraced;
}

CapturedTrace::~CapturedTrace()
{
    ostrel::gDebug = false;
}

} // namespace support
