#pragma once

// Limits the time of the command, also while a call blocks.
//
// A signal interrupts a call of the library, which then removes its reply FIFO
// and its temporary file, releases the lock and throws. So a time-out is a
// signal, as an interruption by the user is. It is repeated every 20 ms: a single
// one would be lost if it came just before the call that blocks.

#include <string>

namespace ostrelctl
{

/// Only one exists at a time.
class Deadline
{
public:
    /// Starts now; 0 seconds stands for no limit. SIGINT, SIGTERM and SIGHUP end
    /// the time at once.
    explicit Deadline(int seconds);

    /// Texts for the standard streams when a call goes on in spite of the signals:
    /// the program prints them and ends with the status of a time-out.
    static void setLastWords(const std::string& output, const std::string& errors);

    /// The signal that ended the time; 0 while time is left.
    static int signal();

    /// Throws Failure when the time is over.
    static void check();
};

} // namespace ostrelctl
