#include "support/StartProgram.h"

#include "support/TextFiles.h"
#include "tools/Descriptor.h"

#include <cerrno>
#include <csignal>
#include <stdexcept>

#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

namespace support
{

using ostrel::Descriptor;

namespace
{

constexpr int cannotStart = 127;

Descriptor openForAppending(const std::string& path)
{
    Descriptor file = Descriptor::open(path, O_WRONLY | O_CREAT | O_APPEND, 0600);
    if (!file.isOpen()) {
        throw std::runtime_error("cannot write " + path);
    }
    return file;
}

} // namespace

Execution::Execution(std::vector<std::string> words) : m_words(std::move(words))
{
    for (std::string& word : m_words) {
        m_arguments.push_back(word.data());
    }
    m_arguments.push_back(nullptr);
}

void Execution::perform() const
{
    ::prctl(PR_SET_PDEATHSIG, SIGKILL);
    ::execv(m_arguments[0], m_arguments.data());
    ::_exit(cannotStart);
}

pid_t startProgram(const std::vector<std::string>& words, const std::string& outputPath,
                   const std::string& errorPath)
{
    const Descriptor output = openForAppending(outputPath);
    const Descriptor errors = openForAppending(errorPath);
    const Execution program(words);
    const pid_t child = ::fork();
    if (child == 0) {
        ::dup2(output.get(), STDOUT_FILENO);
        ::dup2(errors.get(), STDERR_FILENO);
        program.perform();
    }
    if (child == -1) {
        throw std::runtime_error("no child for " + words[0]);
    }
    return child;
}

int awaitEnd(pid_t child)
{
    int status = 0;
    while (::waitpid(child, &status, 0) == -1 && errno == EINTR) {
    }
    return WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status);
}

FinishedProgram runProgram(const std::vector<std::string>& words)
{
    const TemporaryDirectory directory;
    const std::string output = directory / "output";
    const std::string errors = directory / "errors";
    const int status = awaitEnd(startProgram(words, output, errors));
    return {status, readText(output), readText(errors)};
}

} // namespace support
