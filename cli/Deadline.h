#pragma once

// The end of everything that blocks.
//
// A call of the library that a signal interrupts takes itself back: when it
// throws, its reply FIFO and its temporary file are gone and the lock is free.
// So the time-out, and an interruption by the user, are nothing but a signal,
// sent again and again because one that comes right before a call blocks would
// be lost; nobody has to know what files the library makes.

#include <string>

namespace ostrelctl
{

/// One for the program.
class Deadline
{
public:
    /// From now on; 0 seconds for none. SIGINT, SIGTERM and SIGHUP count as an
    /// end at once.
    explicit Deadline(int seconds);

    /// What is printed if something blocks that no signal interrupts; the
    /// program ends then with the status of a time-out.
    static void setLastWords(const std::string& output, const std::string& errors);

    /// The signal that ended the time; 0 while there is time left.
    static int signal();

    /// Throws Failure when the time has ended.
    static void check();
};

} // namespace ostrelctl
