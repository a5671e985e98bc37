#pragma once

#include <chrono>
#include <functional>
#include <map>
#include <vector>

#include <poll.h>

namespace ostreld
{

/// Waits for the events of a process and runs the action of each. No other code of the daemon
/// waits, so an action must not block.
///
/// A process has one loop and one thread. An action may add and end sources, also its own.
class Loop
{
public:
    using Action = std::function<void()>;
    using Clock = std::chrono::steady_clock;
    using Milliseconds = std::chrono::milliseconds;

    /// One event to wait for. Move-only; its destructor removes it from the loop.
    class Source
    {
    public:
        Source() = default;
        Source(Source&& other) noexcept;
        Source& operator=(Source&& other) noexcept;
        ~Source() { end(); }
        void end();
        bool isActive() const { return m_loop != nullptr; }

    private:
        friend class Loop;
        Source(Loop& loop, unsigned int number) : m_loop(&loop), m_number(number) {}

        Loop* m_loop = nullptr;
        unsigned int m_number = 0;
    };

    /// Runs `action` each time poll() reports one of `events` or an error for `descriptor`.
    /// End the source before you close the descriptor.
    [[nodiscard]] Source onEvents(int descriptor, short events, Action action);

    /// Runs `action` once, after `pause`.
    [[nodiscard]] Source after(Milliseconds pause, Action action);

    /// Waits and runs actions until stop(), which may be called before. Lets the exceptions
    /// of actions through.
    void run();
    void stop() { m_isStopped = true; }
    bool isStopped() const { return m_isStopped; }

private:
    struct Entry {
        int descriptor;
        short events;
        Clock::time_point due;
        Action action;
    };

    Source add(Entry entry);
    void wait();
    void runActions();
    void runDue();
    int timeOut() const;

    std::map<unsigned int, Entry> m_entries;
    unsigned int m_lastNumber = 0;
    // The arguments and results of the last poll(), and the number of each entry.
    std::vector<pollfd> m_polled;
    std::vector<unsigned int> m_numbers;
    bool m_isStopped = false;
};

} // namespace ostreld
