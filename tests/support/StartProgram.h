#pragma once

#include <string>
#include <vector>

#include <sys/types.h>

namespace support
{

/// A program, given by its path and arguments, for a child to become. Construct it
/// before the fork: in the child of a process with threads, an allocation can wait
/// for ever for a lock that another thread held.
class Execution
{
public:
    explicit Execution(std::vector<std::string> words);
    Execution(const Execution&) = delete;
    Execution& operator=(const Execution&) = delete;

    /// Replaces this process by the program, which ends when its parent ends.
    [[noreturn]] void perform() const;

private:
    std::vector<std::string> m_words;
    /// Pointers to the words, and the null pointer that ends them.
    std::vector<char*> m_arguments;
};

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
