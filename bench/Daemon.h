#pragma once

#include "bench/Device.h"

#include <string>

#include <sys/types.h>

namespace bench
{

/// The built ostreld on a device. It ends with its owner.
class Daemon
{
public:
    /// Returns once every service answers; throws std::runtime_error.
    explicit Daemon(const Device& device);
    ~Daemon();
    Daemon(const Daemon&) = delete;
    Daemon& operator=(const Daemon&) = delete;

    /// The process that serves `service`.
    pid_t pidOf(const std::string& service) const;

    /// What it has logged.
    std::string log() const { return textOfFile(m_logPath); }

private:
    const std::string m_logPath;
    pid_t m_pid = -1;
};

} // namespace bench
