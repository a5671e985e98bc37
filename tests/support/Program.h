#pragma once

#include <string>
#include <vector>

#include <sys/types.h>

namespace support
{

/// Becomes a program, by its path and arguments, that ends with the parent.
[[noreturn]] void execute(std::vector<std::string> words);

/// Starts a program, by its path and arguments, with the standard output and
/// error streams added to the files of these names; it ends with this process.
pid_t startProgram(const std::vector<std::string>& words, const std::string& outputPath,
                   const std::string& errorPath);

/// Waits for the end of a child: its exit status, or minus the number of the
/// signal that ended it.
int awaitEnd(pid_t child);

/// What a program left when it had ended.
struct FinishedProgram {
    int status;
    std::string output;
    std::string errors;
};
FinishedProgram runProgram(const std::vector<std::string>& words);

} // namespace support
