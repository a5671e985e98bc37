#include "process/Worker.h"

#include <stdexcept>
#include <utility>

namespace ostreld
{

namespace
{

constexpr std::chrono::seconds hookPatience{10};

} // namespace

void Worker::start(const Begin& begin, OnEnd onEnd)
{
    m_onEnd = std::move(onEnd);
    advance(begin);
}

// Outside of the try block: an exception of `onEnd` is not a failure of the work.
void Worker::advance(const Begin& step)
{
    Outcome outcome;
    try {
        Result result = step();
        if (result.work) {
            follow(std::move(result.work));
            return;
        }
        outcome.payload = std::move(result.payload);
    } catch (...) {
        outcome.failure = std::current_exception();
    }
    end(std::move(outcome));
}

void Worker::follow(std::unique_ptr<Work> work)
{
    m_work = std::move(work);
    // Deferred, because the child's object is calling this.
    const auto onChildEnd = [this](ChildEnd childEnd) {
        const auto shared = std::make_shared<ChildEnd>(std::move(childEnd));
        m_next = m_loop.after(Loop::Milliseconds(0), [this, shared] {
            m_child.reset();
            const std::unique_ptr<Work> ended = std::move(m_work);
            advance([&] { return ended->then(std::move(*shared)); });
        });
    };
    if (m_work->slice) {
        runSlice();
    } else if (m_work->function) {
        m_child = Child::ofFunction(m_loop, m_work->function, onChildEnd);
    } else {
        startProgram(onChildEnd);
    }
}

// A program that cannot be started counts as one that failed.
void Worker::startProgram(const Child::OnEnd& onEnd)
{
    try {
        m_child = Child::ofProgram(m_loop, m_work->program, {hookPatience}, onEnd);
    } catch (const std::runtime_error& caught) {
        ChildEnd end;
        end.failure = caught.what();
        onEnd(std::move(end));
    }
}

void Worker::runSlice()
{
    m_next = m_loop.after(Loop::Milliseconds(0), [this] {
        advance([this]() -> Result {
            if (m_work->slice()) {
                return std::move(m_work);
            }
            const std::unique_ptr<Work> ended = std::move(m_work);
            return ended->then({});
        });
    });
}

void Worker::reap()
{
    if (m_child) {
        m_child->reap();
    }
}

void Worker::kill(const std::string& reason)
{
    if (isBusy()) {
        m_next.end();
        m_child.reset();
        end({{}, std::make_exception_ptr(std::runtime_error(reason))});
    }
}

void Worker::end(Outcome outcome)
{
    m_work.reset();
    m_child.reset();
    const OnEnd onEnd = std::exchange(m_onEnd, nullptr);
    onEnd(std::move(outcome));
}

} // namespace ostreld
