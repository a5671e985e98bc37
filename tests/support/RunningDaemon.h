#pragma once

#include "support/TextFiles.h"
#include "tools/Descriptor.h"

#include <csignal>
#include <string>
#include <vector>

#include <sys/types.h>

namespace support
{

/// The built daemon, run on the Device that the test has set up. The destructor
/// kills it, and fails the test if a sanitizer reported an error in the daemon.
///
///     support::RunningDaemon daemon;
///     daemon.start();
///     ...
///     EXPECT_EQ(daemon.stop(), 0);
class RunningDaemon
{
public:
    RunningDaemon();
    ~RunningDaemon();
    RunningDaemon(const RunningDaemon&) = delete;
    RunningDaemon& operator=(const RunningDaemon&) = delete;

    /// Starts it and waits until every service answers. Throws an exception
    /// with its log if it ends instead.
    void start(const std::vector<std::string>& options = {});

    /// The two steps of start().
    void launch(const std::vector<std::string>& options = {});
    void awaitReady();

    /// Sends a signal that ends it, waits until it has ended, and returns its
    /// exit status.
    int stop(int signal = SIGTERM);

    /// Ends it by SIGKILL.
    void kill();

    /// Calls kill(), then start().
    void restart();

    /// Makes it read the configuration again, and waits until it logs a line
    /// with `text`.
    void reload(const std::string& text);

    /// Waits until the daemon logs a line with `text`. Earlier lines do not
    /// count.
    class LogMark
    {
    public:
        explicit LogMark(const RunningDaemon& daemon);
        void await(const std::string& text) const;

    private:
        const RunningDaemon& m_daemon;
        const std::size_t m_start;
    };

    /// The whole log, earlier runs included.
    std::string log() const { return readText(m_logPath); }

    pid_t pid() const { return m_pid; }

    /// The process that serves `service`. Throws std::runtime_error when no process
    /// does.
    pid_t pidOf(const std::string& service) const;

    /// The path of the built program.
    static const char* const path;

private:
    const TemporaryDirectory m_directory;
    const std::string m_logPath = m_directory / "log";
    ostrel::Descriptor m_ready;
    pid_t m_pid = -1;
};

} // namespace support
