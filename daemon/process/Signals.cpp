#include "process/Signals.h"

#include "base/PipeFiles.h"

#include <csignal>
#include <utility>

#include <sys/signalfd.h>

namespace ostreld
{

Signals::Signals(Loop& loop, std::initializer_list<int> signals, std::function<void(int)> onSignal)
    : m_onSignal(std::move(onSignal))
{
    sigset_t set;
    sigemptyset(&set);
    for (const int signal : signals) {
        sigaddset(&set, signal);
    }
    ::sigprocmask(SIG_BLOCK, &set, nullptr);
    m_signals = requireOpen(ostrel::Descriptor(::signalfd(-1, &set, SFD_CLOEXEC | SFD_NONBLOCK)),
                            "make", "a descriptor of signals");
    m_source = loop.onEvents(m_signals.get(), POLLIN, [this] { take(); });
}

void Signals::take() const
{
    signalfd_siginfo info{};
    while (::read(m_signals.get(), &info, sizeof info) == sizeof info) {
        m_onSignal(static_cast<int>(info.ssi_signo));
    }
}

} // namespace ostreld
