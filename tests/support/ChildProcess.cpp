#include "support/ChildProcess.h"

#include "support/Thrown.h"
#include "tools/Descriptor.h"

#include <stdexcept>

#include <sys/wait.h>
#include <unistd.h>

namespace support
{

namespace
{

using ostrel::Descriptor;

[[noreturn]] void report(const Descriptor& pipe, const std::function<std::string()>& work)
{
    std::string text;
    const std::string thrown = thrownBy([&] { text = work(); });
    if (thrown != "nothing") {
        text = "[" + thrown + "]";
    }
    // _exit(), because the child must not run the parent's destructors or flush its buffers.
    ::_exit(ostrel::writeAll(pipe, text) ? 0 : 1);
}

std::string readToEnd(const Descriptor& pipe)
{
    std::string text;
    char chunk[1024];
    ssize_t count = 0;
    while ((count = ::read(pipe.get(), chunk, sizeof chunk)) > 0) {
        text.append(chunk, static_cast<std::size_t>(count));
    }
    return text;
}

} // namespace

std::string inChild(const std::function<std::string()>& work)
{
    int ends[2];
    if (::pipe2(ends, O_CLOEXEC) != 0) {
        throw std::runtime_error("no pipe for a child");
    }
    const Descriptor reading(ends[0]);
    Descriptor writing(ends[1]);
    const pid_t child = ::fork();
    if (child == -1) {
        throw std::runtime_error("no child");
    }
    if (child == 0) {
        report(writing, work);
    }
    writing.close();
    const std::string text = readToEnd(reading);
    int status = 0;
    ::waitpid(child, &status, 0);
    return status == 0 ? text : "[wait status " + std::to_string(status) + "]";
}

} // namespace support
