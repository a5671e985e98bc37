#include "bench/Rows.h"

#include <system_error>

#include <spawn.h>
#include <sys/wait.h>

namespace bench
{

namespace
{

/// The exit status of a program that is started with an empty environment.
int statusOf(const char* program)
{
    char* const arguments[] = {const_cast<char*>(program), nullptr};
    char* const environment[] = {nullptr};
    pid_t process = 0;
    const int error = ::posix_spawn(&process, program, nullptr, nullptr, arguments, environment);
    if (error != 0) {
        throw std::system_error(error, std::generic_category(), program);
    }
    int status = -1;
    ::waitpid(process, &status, 0);
    return status;
}

} // namespace

std::vector<Row> startRows()
{
    return {rowOf(
        {"start of a program", 1, 1.1, Clock::Wall}, [] { return statusOf(NOTHING_OSTRL); },
        [] { return statusOf(NOTHING_CXXTOOLS); })};
}

} // namespace bench
