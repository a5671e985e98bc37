#include "engine/Deadline.h"

#include "failure/Failure.h"

#include <fmt/format.h>

#include <csignal>
#include <ctime>

#include <unistd.h>

namespace ostrelctl
{

namespace
{

constexpr long tick = 20'000'000;
constexpr int lastTick = 100;

volatile std::sig_atomic_t endedBy = 0;
volatile std::sig_atomic_t ticks = 0;
int givenSeconds = 0;
timer_t timer;

/// Text that a signal handler may write.
struct LastWords {
    std::string output;
    std::string errors;
};
LastWords& lastWords()
{
    static LastWords words;
    return words;
}

void arm(int seconds)
{
    itimerspec times{};
    times.it_interval.tv_nsec = tick;
    times.it_value.tv_sec = seconds;
    times.it_value.tv_nsec = seconds == 0 ? tick : 0;
    ::timer_settime(timer, 0, &times, nullptr);
}

void writeOnce(int descriptor, const std::string& text)
{
    [[maybe_unused]] const ssize_t written = ::write(descriptor, text.data(), text.size());
}

[[noreturn]] void giveUp()
{
    writeOnce(STDOUT_FILENO, lastWords().output);
    writeOnce(STDERR_FILENO, lastWords().errors);
    ::_exit(static_cast<int>(ExitStatus::TimeOut));
}

void onSignal(int number)
{
    if (number != SIGALRM) {
        arm(0);
    }
    if (endedBy == 0) {
        endedBy = number;
    }
    ticks = ticks + 1;
    if (ticks >= lastTick) {
        giveUp();
    }
}

void handle(int number)
{
    struct sigaction action {
    };
    // Without SA_RESTART, so that it interrupts a call that blocks.
    action.sa_handler = onSignal;
    ::sigaction(number, &action, nullptr);
}

bool isIgnored(int number)
{
    struct sigaction action {
    };
    return ::sigaction(number, nullptr, &action) == 0 && action.sa_handler == SIG_IGN;
}

} // namespace

Deadline::Deadline(int seconds)
{
    givenSeconds = seconds;
    ::timer_create(CLOCK_MONOTONIC, nullptr, &timer);
    handle(SIGALRM);
    for (const int number : {SIGINT, SIGTERM, SIGHUP}) {
        // As nohup sets it, for example.
        if (!isIgnored(number)) {
            handle(number);
        }
    }
    if (seconds != 0) {
        arm(seconds);
    }
}

void Deadline::setLastWords(const std::string& output, const std::string& errors)
{
    lastWords() = {output, errors};
}

int Deadline::signal()
{
    return endedBy;
}

void Deadline::check()
{
    if (endedBy == SIGALRM) {
        throw Failure(ExitStatus::TimeOut, fmt::format("no end within {} s", givenSeconds),
                      "the daemon may still carry it out, and its log shows that; --timeout gives "
                      "more time");
    }
    if (endedBy != 0) {
        throw Failure(ExitStatus::Failed, "interrupted", "the daemon may still carry it out");
    }
}

} // namespace ostrelctl
