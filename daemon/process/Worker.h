#pragma once

#include "base/Child.h"
#include "base/Loop.h"
#include "commands/Work.h"

#include <openssl/crypto.h>

#include <exception>
#include <functional>
#include <memory>
#include <string>
#include <utility>

namespace ostreld
{

/// The result of a command or task: its payload, or the exception. Move-only, because the
/// payload may be a key.
struct Outcome {
    Outcome() = default;
    Outcome(std::string text, std::exception_ptr thrown)
        : payload(std::move(text)), failure(std::move(thrown))
    {
    }
    Outcome(Outcome&&) = default;
    Outcome& operator=(Outcome&&) = default;
    ~Outcome() { OPENSSL_cleanse(payload.data(), payload.size()); }

    std::string payload;
    std::exception_ptr failure;
};

/// Executes one command or task at a time, with all work that it leads to.
class Worker
{
public:
    using Begin = std::function<Result()>;
    using OnEnd = std::function<void(Outcome)>;

    explicit Worker(Loop& loop) : m_loop(loop) {}

    bool isBusy() const { return m_onEnd != nullptr; }

    /// Calls `begin`, and `onEnd` at once or later. `onEnd` may start the next command.
    void start(const Begin& begin, OnEnd onEnd);

    /// Call it after each SIGCHLD.
    void reap();

    /// Ends the work in progress as a failure.
    void kill(const std::string& reason);

private:
    void advance(const Begin& step);
    void follow(std::unique_ptr<Work> work);
    void startProgram(const Child::OnEnd& onEnd);
    void runSlice();
    void end(Outcome outcome);

    Loop& m_loop;
    OnEnd m_onEnd;
    std::unique_ptr<Work> m_work;
    std::unique_ptr<Child> m_child;
    Loop::Source m_next;
};

} // namespace ostreld
