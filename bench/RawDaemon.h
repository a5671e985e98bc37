#pragma once

#include <string>

#include <sys/types.h>

namespace bench
{

/// The daemon's end of an exchange by hand: it waits for the events of the pipe directory,
/// reads the message, logs one line and answers. Every reply is the same. It is a process
/// like the daemon, and ends with its owner.
class RawDaemon
{
public:
    /// Makes the pipes with the paths `base` and a suffix, in an existing directory.
    RawDaemon(std::string base, std::string reply, const std::string& logPath);
    ~RawDaemon();
    RawDaemon(const RawDaemon&) = delete;
    RawDaemon& operator=(const RawDaemon&) = delete;

private:
    void serve() const;
    void answer(const std::string& message) const;

    const std::string m_base;
    const std::string m_reply;
    const int m_log;
    pid_t m_process;
};

} // namespace bench
