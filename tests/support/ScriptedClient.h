#pragma once

#include "tools/Descriptor.h"

#include <iosfwd>
#include <string>

#include <sys/types.h>

namespace support
{

class Device;

/// The steps of one call, in their order.
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

/// Every step, to walk through.
constexpr Step allSteps[] = {
    Step::OpensLock,        Step::TakesLock,         Step::MakesReplyFifo, Step::SharesReplyFifo,
    Step::OpensCommandFifo, Step::WritesHalf,        Step::WritesAll,      Step::ClosesCommandFifo,
    Step::OpensReplyFifo,   Step::ReadsStartOfReply, Step::ReadsReply,     Step::RemovesReplyFifo,
};

/// "OpensLock", for the names of tests, and for messages.
std::string toString(Step step);
void PrintTo(Step step, std::ostream* out);

/// A client in a process of its own that makes one call by bare system calls
/// and stops itself (as by SIGSTOP) when it has done a step. Killed with the
/// object.
class ScriptedClient
{
public:
    /// Starts it, and waits until it has stopped after `step`.
    ScriptedClient(const Device& device, const std::string& service, const std::string& message,
                   Step step);
    ~ScriptedClient();
    ScriptedClient(const ScriptedClient&) = delete;
    ScriptedClient& operator=(const ScriptedClient&) = delete;

    /// Ends it where it stands, and waits until nothing of it is left.
    void kill();

    /// Lets it go on to the end of its call.
    void resume() const;

    /// Waits for that end: "reply " and the reply, "failed to " and at what;
    /// "still waiting" when it never comes.
    std::string outcome();

private:
    pid_t m_pid = -1;
    ostrel::Descriptor m_outcome;
};

} // namespace support
