#pragma once

#include "tools/Descriptor.h"

#include <iosfwd>
#include <string>

#include <sys/types.h>

namespace support
{

class Device;

/// The steps of one call, in order.
enum class Step {
    OpensLock,
    TakesLock,
    MakesReplyFifo,
    SharesReplyFifo,
    OpensCommandFifo,
    WritesHalf,
    WritesAll,
    ClosesCommandFifo,
    OpensReplyFifo,
    ReadsStartOfReply,
    ReadsReply,
    RemovesReplyFifo,
};

/// Every step, for tests that try each of them.
constexpr Step allSteps[] = {
    Step::OpensLock,        Step::TakesLock,         Step::MakesReplyFifo, Step::SharesReplyFifo,
    Step::OpensCommandFifo, Step::WritesHalf,        Step::WritesAll,      Step::ClosesCommandFifo,
    Step::OpensReplyFifo,   Step::ReadsStartOfReply, Step::ReadsReply,     Step::RemovesReplyFifo,
};

/// "OpensLock", for the names of tests and for messages.
std::string toString(Step step);
void PrintTo(Step step, std::ostream* out);

/// A client in a child process that makes one call with bare system calls and
/// stops itself by SIGSTOP after a given step. The destructor kills it.
class ScriptedClient
{
public:
    /// Starts it and waits until it has stopped after `step`.
    ScriptedClient(const Device& device, const std::string& service, const std::string& message,
                   Step step);
    ~ScriptedClient();
    ScriptedClient(const ScriptedClient&) = delete;
    ScriptedClient& operator=(const ScriptedClient&) = delete;

    /// Kills it and waits until it has ended.
    void kill();

    /// Continues the call.
    void resume() const;

    /// Waits for the outcome of the call: "reply " and the reply, or "failed to
    /// " and the step. Returns "still waiting" when the call does not end.
    std::string outcome();

private:
    pid_t m_pid = -1;
    ostrel::Descriptor m_outcome;
};

} // namespace support
