#include "support/Interruption.h"

#include <chrono>

namespace support
{

namespace
{

using namespace std::chrono_literals;

void ignoreNothing(int /*signal*/) {}

} // namespace

Interruption::Interruption()
{
    struct sigaction action = {};
    action.sa_handler = ignoreNothing;
    ::sigaction(SIGUSR1, &action, &m_former);
}

Interruption::~Interruption()
{
    ::sigaction(SIGUSR1, &m_former, nullptr);
}

void Interruption::once() const
{
    ::pthread_kill(m_target, SIGUSR1);
}

void Interruption::untilOver()
{
    const std::future<void> isOver = m_over.get_future();
    while (isOver.wait_for(1ms) == std::future_status::timeout) {
        once();
    }
    m_silent.set_value();
}

void Interruption::over()
{
    m_over.set_value();
    m_silent.get_future().wait();
}

} // namespace support
