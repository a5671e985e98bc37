#pragma once

#include "base/Loop.h"

#include "tools/Descriptor.h"

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include <sys/types.h>

namespace ostreld
{

constexpr std::size_t largestOutput = 256 * 1024;

/// How a child process ended. Move-only, because the output may be a key.
struct ChildEnd {
    ChildEnd() = default;
    ChildEnd(ChildEnd&&) = default;
    ChildEnd& operator=(ChildEnd&&) = default;
    ~ChildEnd();

    bool isFine() const { return failure.empty(); }

    std::string output;
    /// Empty when the child ended with status 0.
    std::string failure;
};

/// A child process that does slow work: a program of the device's builder, or a function of
/// the daemon. It writes its output into a pipe. It leads a process group, ends with the
/// daemon's process, and inherits no descriptor and no blocked or ignored signal.
///
/// If the object is destroyed before the child has ended, it kills the group.
class Child
{
public:
    using OnEnd = std::function<void(ChildEnd)>;

    /// A child is killed after this time; zero means no limit.
    struct Limit {
        Loop::Milliseconds patience{0};
    };

    /// Runs a program without a shell. Its input is empty and its environment contains only
    /// PATH. Throws std::runtime_error if anybody but root and the daemon's user can write
    /// the program.
    static std::unique_ptr<Child> ofProgram(Loop& loop, const std::vector<std::string>& words,
                                            Limit limit, OnEnd onEnd);

    /// Runs a function in a copy of this process; its result is the output. The function may
    /// block, but must not change anything outside of its process.
    static std::unique_ptr<Child> ofFunction(Loop& loop, const std::function<std::string()>& work,
                                             OnEnd onEnd);

    ~Child();
    Child(const Child&) = delete;
    Child& operator=(const Child&) = delete;

    /// Call it after each SIGCHLD. May call `onEnd`, which may destroy this object.
    void reap();

    /// Kills the group. The child then ends as usual, with `reason` as its failure.
    void kill(const std::string& reason);

private:
    Child(Loop& loop, std::string name, OnEnd onEnd);

    template <class Work>
    void start(Work work);
    void readOutput();
    void limitTo(Loop::Milliseconds patience);
    void fail(const std::string& failure);
    void finishIfOver();

    Loop& m_loop;
    const std::string m_name;
    const OnEnd m_onEnd;
    pid_t m_pid = -1;
    ostrel::Descriptor m_output;
    Loop::Source m_reading;
    Loop::Source m_timer;
    ChildEnd m_end;
};

} // namespace ostreld
