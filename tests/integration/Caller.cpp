#include "integration/Caller.h"

#include "support/StartProgram.h"

#include <csignal>
#include <stdexcept>
#include <utility>

#include <poll.h>
#include <sys/prctl.h>
#include <unistd.h>

namespace daemon_case
{

using ostrel::Descriptor;

namespace
{

// In milliseconds: half of the time after which the test is ended.
constexpr int patience = 500 * OSTREL_TEST_PATIENCE;

void ignoreNothing(int /*signal*/) {}

} // namespace

void letSignalsInterrupt()
{
    struct sigaction action = {};
    action.sa_handler = ignoreNothing;
    ::sigaction(SIGUSR1, &action, nullptr);
    ::sigaction(SIGALRM, &action, nullptr);
}

std::string outcomeOf(const Caller::Work& work)
{
    try {
        return work();
    } catch (const std::exception& caught) {
        return std::string("gave up: ") + caught.what();
    }
}

Caller::Caller(const Work& work)
{
    int ends[2];
    if (::pipe2(ends, O_CLOEXEC) != 0) {
        throw std::runtime_error("no pipe for a caller");
    }
    m_outcome = Descriptor(ends[0]);
    const Descriptor report(ends[1]);
    m_pid = ::fork();
    if (m_pid == -1) {
        throw std::runtime_error("no process for a caller");
    }
    if (m_pid == 0) {
        ::prctl(PR_SET_PDEATHSIG, SIGKILL);
        letSignalsInterrupt();
        ostrel::writeAll(report, outcomeOf(work));
        ::_exit(0);
    }
}

Caller::~Caller()
{
    ::kill(m_pid, SIGKILL);
    support::awaitEnd(m_pid);
}

bool Caller::isOver(int milliseconds) const
{
    pollfd entry{m_outcome.get(), POLLIN, 0};
    return ::poll(&entry, 1, milliseconds) == 1;
}

std::string Caller::giveUp()
{
    // The fork and the handler may take their time; a second without an outcome is a defect.
    for (int attempt = 0; attempt < 1000 && !isOver(1); ++attempt) {
        ::kill(m_pid, SIGUSR1);
    }
    return outcome();
}

std::string Caller::outcome()
{
    std::string text;
    char bytes[4096];
    while (isOver(patience)) {
        const ssize_t count = ::read(m_outcome.get(), bytes, sizeof bytes);
        if (count <= 0) {
            return text;
        }
        text.append(bytes, static_cast<std::size_t>(count));
    }
    return "still waiting";
}

} // namespace daemon_case
