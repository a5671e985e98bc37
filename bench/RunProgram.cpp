#include "bench/RunProgram.h"

#include <system_error>

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

namespace bench
{

namespace
{

/// The open files that the program starts with.
class Streams
{
public:
    explicit Streams(const std::string& outputPath)
    {
        ::posix_spawn_file_actions_init(&m_actions);
        ::posix_spawn_file_actions_addopen(&m_actions, STDOUT_FILENO, outputPath.c_str(),
                                           O_WRONLY | O_CREAT | O_TRUNC, 0600);
    }
    ~Streams() { ::posix_spawn_file_actions_destroy(&m_actions); }
    Streams(const Streams&) = delete;
    Streams& operator=(const Streams&) = delete;

    const posix_spawn_file_actions_t* get() const { return &m_actions; }

private:
    posix_spawn_file_actions_t m_actions;
};

} // namespace

int statusOf(const std::vector<std::string>& words, const std::string& outputPath)
{
    std::vector<char*> arguments;
    for (const std::string& word : words) {
        arguments.push_back(const_cast<char*>(word.c_str()));
    }
    arguments.push_back(nullptr);
    char* const environment[] = {nullptr};
    const Streams streams(outputPath);
    pid_t process = 0;
    const int error = ::posix_spawn(&process, arguments[0], streams.get(), nullptr,
                                    arguments.data(), environment);
    if (error != 0) {
        throw std::system_error(error, std::generic_category(), words[0]);
    }
    int status = -1;
    ::waitpid(process, &status, 0);
    return status;
}

} // namespace bench
