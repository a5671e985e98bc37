#include "support/PseudoTerminal.h"

#include "support/Program.h"
#include "tools/Descriptor.h"

#include <cerrno>
#include <stdexcept>

#include <cstdlib>

#include <sys/ioctl.h>

namespace support
{

using ostrel::Descriptor;

namespace
{

Descriptor openMaster(unsigned short width)
{
    Descriptor master(::posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC));
    winsize size{};
    size.ws_col = width;
    if (::grantpt(master.get()) != 0 || ::unlockpt(master.get()) != 0 ||
        ::ioctl(master.get(), TIOCSWINSZ, &size) != 0) {
        throw std::runtime_error("no pseudo-terminal");
    }
    return master;
}

// Until the last one who has the terminal open is gone.
std::string readAll(const Descriptor& master)
{
    std::string text;
    char bytes[4096];
    for (ssize_t count = 0;;) {
        count = ::read(master.get(), bytes, sizeof bytes);
        if (count > 0) {
            text.append(bytes, static_cast<std::size_t>(count));
        } else if (count == 0 || errno != EINTR) {
            return text;
        }
    }
}

} // namespace

ShownProgram runOnTerminal(const std::vector<std::string>& words, unsigned short width)
{
    const Descriptor master = openMaster(width);
    const std::string terminal = ::ptsname(master.get());
    const pid_t child = startProgram(words, terminal, terminal);
    const std::string text = readAll(master);
    return {awaitEnd(child), text};
}

} // namespace support
