#pragma once

#include <string>
#include <vector>

#include <sys/types.h>

namespace support
{

/// Replaces this process by a program, given by its path and arguments. The
/// program ends when its parent ends.
[[noreturn]] void execute(std::vector<std::string> words);

/// Starts a program, given by its path and arguments. Its standard output and
/// error are appended to these files. It ends when this process ends.
pid_t startProgram(const std::vector<std::string>& words, const std::string& outputPath,
                   const std::string& errorPath);

/// Waits until a child ends. Returns its exit status, or the negated number of
/// the signal that ended it.
int awaitEnd(pid_t child);

/// The exit status and the output of a program that has ended.
struct FinishedProgram {
    int status;
    std::string output;
    std::string errors;
};
FinishedProgram runProgram(const std::vector<std::string>& words);

} // namespace support
