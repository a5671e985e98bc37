#pragma once

#include "support/TextFiles.h"
#include "tools/Descriptor.h"

#include <csignal>
#include <string>
#include <vector>

#include <sys/types.h>

namespace support
{

/// The built daemon, run for the Device that the test has set up. Killed with
/// the object, which fails the test when a sanitizer complained of the daemon.
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

    /// Starts it and waits until every service answers. Throws with its log
    /// when it ends instead.
    void start(const std::vector<std::string>& options = {});

    /// The two parts of that.
    void launch(const std::vector<std::string>& options = {});
    void awaitReady();

    /// Sends a signal that ends it, waits, and returns its exit status.
    int stop(int signal = SIGTERM);

    /// Ends it with no time to do anything.
    void kill();

    /// kill() and start().
    void restart();

    /// Has it read the configuration again, and waits for a line with `text`
    /// that it logs on that.
    void reload(const std::string& text);

    /// Waits for a line with `text` that it logs from now on.
    class LogMark
    {
    public:
        explicit LogMark(const RunningDaemon& daemon);
        void await(const std::string& text) const;

    private:
        const RunningDaemon& m_daemon;
        const std::size_t m_start;
    };

    /// Everything logged so far, by earlier runs too.
    std::string log() const { return readText(m_logPath); }

    pid_t pid() const { return m_pid; }

    /// The path of the built program.
    static const char* const path;

private:
    const TemporaryDirectory m_directory;
    const std::string m_logPath = m_directory / "log";
    ostrel::Descriptor m_ready;
    pid_t m_pid = -1;
};

} // namespace support
