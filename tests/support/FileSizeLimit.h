#pragma once

#include <csignal>

#include <sys/resource.h>

namespace support
{

/// While the object lives, a write beyond `length` bytes of a file fails.
class FileSizeLimit
{
public:
    explicit FileSizeLimit(rlim_t length) : m_handler(std::signal(SIGXFSZ, SIG_IGN))
    {
        ::getrlimit(RLIMIT_FSIZE, &m_former);
        const rlimit limit = {length, m_former.rlim_max};
        ::setrlimit(RLIMIT_FSIZE, &limit);
    }
    ~FileSizeLimit()
    {
        ::setrlimit(RLIMIT_FSIZE, &m_former);
        std::signal(SIGXFSZ, m_handler);
    }
    FileSizeLimit(const FileSizeLimit&) = delete;
    FileSizeLimit& operator=(const FileSizeLimit&) = delete;

private:
    void (*const m_handler)(int);
    rlimit m_former{};
};

} // namespace support
