#include "base/Loop.h"

#include <algorithm>
#include <cerrno>
#include <thread>
#include <utility>

namespace ostreld
{

namespace
{

// Without memory the kernel cannot poll. It may have some again soon.
constexpr std::chrono::milliseconds shortagePause{20};

} // namespace

Loop::Source::Source(Source&& other) noexcept
    : m_loop(std::exchange(other.m_loop, nullptr)), m_number(other.m_number)
{
}

Loop::Source& Loop::Source::operator=(Source&& other) noexcept
{
    if (this != &other) {
        end();
        m_loop = std::exchange(other.m_loop, nullptr);
        m_number = other.m_number;
    }
    return *this;
}

void Loop::Source::end()
{
    if (m_loop != nullptr) {
        std::exchange(m_loop, nullptr)->m_entries.erase(m_number);
    }
}

Loop::Source Loop::onEvents(int descriptor, short events, Action action)
{
    return add({descriptor, events, Clock::time_point::max(), std::move(action)});
}

Loop::Source Loop::after(Milliseconds pause, Action action)
{
    return add({-1, 0, Clock::now() + pause, std::move(action)});
}

Loop::Source Loop::add(Entry entry)
{
    m_entries.emplace(++m_lastNumber, std::move(entry));
    return {*this, m_lastNumber};
}

void Loop::run()
{
    while (!m_isStopped) {
        wait();
        runActions();
        runDue();
    }
}

int Loop::timeOut() const
{
    auto due = Clock::time_point::max();
    for (const auto& [number, entry] : m_entries) {
        due = std::min(due, entry.due);
    }
    if (due == Clock::time_point::max()) {
        return -1;
    }
    // Rounds up, because an entry is not due before its time.
    const auto left = std::chrono::ceil<Milliseconds>(due - Clock::now());
    return static_cast<int>(std::clamp<Milliseconds::rep>(left.count(), 0, 1000000));
}

void Loop::wait()
{
    m_polled.clear();
    m_numbers.clear();
    for (const auto& [number, entry] : m_entries) {
        if (entry.descriptor != -1) {
            m_numbers.push_back(number);
            m_polled.push_back({entry.descriptor, entry.events, 0});
        }
    }
    if (::poll(m_polled.data(), m_polled.size(), timeOut()) == -1) {
        const bool isShort = errno != EINTR;
        std::for_each(m_polled.begin(), m_polled.end(), [](pollfd& entry) { entry.revents = 0; });
        std::this_thread::sleep_for(isShort ? shortagePause : shortagePause.zero());
    }
}

// An action may end another source, whose event then does not matter.
void Loop::runActions()
{
    for (std::size_t i = 0; i < m_numbers.size(); ++i) {
        const auto found = m_entries.find(m_numbers[i]);
        if (m_polled[i].revents != 0 && found != m_entries.end()) {
            const Action action = found->second.action;
            action();
        }
    }
}

void Loop::runDue()
{
    const auto now = Clock::now();
    std::vector<unsigned int> due;
    for (const auto& [number, entry] : m_entries) {
        if (entry.due <= now) {
            due.push_back(number);
        }
    }
    for (const unsigned int number : due) {
        const auto found = m_entries.find(number);
        if (found != m_entries.end()) {
            found->second.due = Clock::time_point::max();
            const Action action = found->second.action;
            action();
        }
    }
}

} // namespace ostreld
