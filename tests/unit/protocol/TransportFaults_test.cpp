// Failures of system calls: the kernel denies a system call, or a capability is
// missing, in the calling thread.

#include "unit/protocol/TransportCase.h"

#include "support/Accounts.h"
#include "support/DeniedSystemCalls.h"
#include "support/TextFiles.h"

#include <thread>

#include <linux/capability.h>
#include <sys/syscall.h>

namespace
{

namespace fs = std::filesystem;
using support::apiError;
using transport_case::payload;
using transport_case::Transport;

const std::vector<long> changingModes = {
#ifdef SYS_chmod
    SYS_chmod,
#endif
    SYS_fchmodat,
};

const std::vector<long> removals = {
#ifdef SYS_unlink
    SYS_unlink,
#endif
    SYS_unlinkat,
};

class TransportFault : public Transport
{
protected:
    /// Makes a call in a thread in which these system calls fail.
    void callWithout(const std::vector<long>& numbers, int error)
    {
        std::thread([&] {
            ASSERT_TRUE(support::denySystemCalls(numbers, error));
            outcome = call();
        }).join();
    }

    void SetUp() override
    {
        bool canDeny = false;
        std::thread([&] { canDeny = support::denySystemCalls({}, 0); }).join();
        if (!canDeny) {
            GTEST_SKIP() << "the kernel has no seccomp filters";
        }
    }

    void TearDown() override
    {
        EXPECT_TRUE(isLockFree());
        EXPECT_EQ(support::openDescriptorCount(), descriptorsBefore);
    }

    std::string notRemoved() const
    {
        return line("Error: Failed to remove FIFO OUT :" + pipes.out + " : ", EACCES);
    }

    std::string outcome;
    const support::CapturedTrace trace;
    const std::size_t descriptorsBefore = support::openDescriptorCount();
};

TEST_F(TransportFault, UnchangeableModeEndsTheCall)
{
    callWithout(changingModes, EPERM);
    EXPECT_EQ(outcome, apiError(1));
    EXPECT_EQ(
        trace.text(),
        line("Error: Failed to assign required permissions to file :" + pipes.out + " : ", EPERM));
    expectReleased();
}

TEST_F(TransportFault, UnremovableReplyFifoIsTracedAfterAnUnknownGroup)
{
    pipes.group = "no such group";
    callWithout(removals, EACCES);
    EXPECT_EQ(outcome, apiError(1));
    EXPECT_EQ(trace.text(), "Error: Change the group of the out file to 'no such group' failed.\n" +
                                notRemoved());
}

TEST_F(TransportFault, UnremovableReplyFifoIsTracedAfterAnUnchangeableMode)
{
    std::vector<long> both = changingModes;
    both.insert(both.end(), removals.begin(), removals.end());
    callWithout(both, EACCES);
    EXPECT_EQ(outcome, apiError(1));
    EXPECT_EQ(
        trace.text(),
        line("Error: Failed to assign required permissions to file :" + pipes.out + " : ", EACCES) +
            notRemoved());
}

TEST_F(TransportFault, UnremovableReplyFifoIsTracedAfterAMissingCommandFifo)
{
    fs::remove(pipes.in);
    callWithout(removals, EACCES);
    EXPECT_EQ(outcome, apiError(11));
    EXPECT_EQ(trace.text(), "Failed to open the file '" + pipes.in +
                                "'. Looks like 'ostreld' service is not running. \n" +
                                notRemoved());
}

TEST_F(TransportFault, UnremovableReplyFifoIsTracedAfterAnUnopenableCommandFifo)
{
    fs::remove(pipes.in);
    fs::create_directory(pipes.in);
    callWithout(removals, EACCES);
    EXPECT_EQ(outcome, apiError(1));
    EXPECT_EQ(trace.text(), line("Error: Failed to open FIFO IN file: " + pipes.in + ": ", EISDIR) +
                                notRemoved());
}

// Intended: after the reply, a failed removal has another text.
TEST_F(TransportFault, UnremovableReplyFifoAfterTheReplyIsTracedAndTheCallSucceeds)
{
    peer.answer("0 a");
    callWithout(removals, EACCES);
    EXPECT_EQ(outcome, payload("a"));
    EXPECT_EQ(trace.text(),
              messageLine() + line("Failed to remove file '" + pipes.out + "' : error: ", EACCES));
    EXPECT_EQ(call(), apiError(1)) << "it makes the next call fail";
}

TEST_F(TransportFault, RefusedLockIsReportedAsALockedService)
{
    callWithout({SYS_flock}, ENOLCK);
    EXPECT_EQ(outcome, apiError(2));
    EXPECT_EQ(trace.text(), line("Error: file already locked : ", ENOLCK));
    EXPECT_FALSE(fs::exists(pipes.out));
}

/// Takes a capability from the calling thread while the object lives.
class WithoutCapability
{
public:
    explicit WithoutCapability(unsigned int capability)
    {
        ::syscall(SYS_capget, &m_header, m_former);
        __user_cap_data_struct lowered[2] = {m_former[0], m_former[1]};
        lowered[0].effective &= ~(1U << capability);
        EXPECT_EQ(::syscall(SYS_capset, &m_header, lowered), 0);
    }
    ~WithoutCapability() { ::syscall(SYS_capset, &m_header, m_former); }
    WithoutCapability(const WithoutCapability&) = delete;
    WithoutCapability& operator=(const WithoutCapability&) = delete;

private:
    __user_cap_header_struct m_header = {_LINUX_CAPABILITY_VERSION_3, 0};
    __user_cap_data_struct m_former[2] = {};
};

TEST_F(Transport, ReportsAForbiddenGroupAsAnUnknownOne)
{
    const support::Accounts accounts;
    support::Accounts::addGroup("foreign:x:4242:");
    pipes.group = "foreign";
    const support::CapturedTrace trace;
    {
        const WithoutCapability unprivileged(CAP_CHOWN);
        EXPECT_EQ(call(), apiError(1));
    }
    EXPECT_EQ(trace.text(), "Error: Change the group of the out file to 'foreign' failed.\n");
    expectReleased();
}

} // namespace
