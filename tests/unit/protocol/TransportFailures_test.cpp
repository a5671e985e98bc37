#include "unit/protocol/TransportCase.h"

#include <ostrelApi/CallError.h>

#include "support/TextFiles.h"
#include "tools/ErrorText.h"

#include <gmock/gmock.h>

#include <algorithm>

#include <sys/stat.h>

namespace
{

namespace fs = std::filesystem;
using ostrelApi::ServicePipes;
using support::apiError;
using transport_case::Transport;

/// What makes a call fail, and how it fails: its return code and its traced
/// line. The text of errno follows that line, if there is one.
struct Row {
    const char* sentence;
    void (*prepare)(ServicePipes& pipes);
    int returnCode;
    std::string (*trace)(const ServicePipes& pipes);
    int error;
};

void PrintTo(const Row& row, std::ostream* out)
{
    *out << row.sentence;
}

void replaceByDirectory(const std::string& path)
{
    fs::remove(path);
    fs::create_directory(path);
}

void replaceByLink(const std::string& path, const std::string& target)
{
    fs::remove(path);
    fs::create_symlink(target, path);
}

void replaceBySocket(const std::string& path)
{
    fs::remove(path);
    support::makeUnopenable(path);
}

std::string lockMissing(const ServicePipes& pipes)
{
    return "Failed to open the file '" + pipes.lock +
           "'. Looks like the 'ostreld' service is not running.\n";
}

std::string lockNotOpened(const ServicePipes&)
{
    return "Error: FIFO lock file open error ";
}

std::string outNotCreated(const ServicePipes& pipes)
{
    return "Error: Failed to create FIFO OUT :" + pipes.out + " : ";
}

std::string groupNotChanged(const ServicePipes& pipes)
{
    return "Error: Change the group of the out file to '" + pipes.group + "' failed.\n";
}

// Intended: other words than for the lock file, and a trailing blank.
std::string inMissing(const ServicePipes& pipes)
{
    return "Failed to open the file '" + pipes.in +
           "'. Looks like 'ostreld' service is not running. \n";
}

std::string inNotOpened(const ServicePipes& pipes)
{
    return "Error: Failed to open FIFO IN file: " + pipes.in + ": ";
}

const Row rows[] = {
    {"no lock file", [](ServicePipes& pipes) { fs::remove(pipes.lock); }, 11, lockMissing, 0},
    {"a lock file that is a dangling link",
     [](ServicePipes& pipes) { replaceByLink(pipes.lock, "nothing"); }, 11, lockMissing, 0},
    {"no service directory",
     [](ServicePipes& pipes) { pipes = ostrelApi::pipesOf("/nowhere/web", "web", "root"); }, 11,
     lockMissing, 0},
    {"a lock file that is a directory", [](ServicePipes& pipes) { replaceByDirectory(pipes.lock); },
     3, lockNotOpened, EISDIR},
    {"a lock file that is a link to itself",
     [](ServicePipes& pipes) { replaceByLink(pipes.lock, "web.lock"); }, 3, lockNotOpened, ELOOP},
    {"a lock file that is a socket", [](ServicePipes& pipes) { replaceBySocket(pipes.lock); }, 3,
     lockNotOpened, ENXIO},
    {"a service directory that is a file", [](ServicePipes& pipes) { pipes.lock += "/web.lock"; },
     3, lockNotOpened, ENOTDIR},
    {"a leftover reply FIFO",
     [](ServicePipes& pipes) { ASSERT_EQ(::mkfifo(pipes.out.c_str(), 0760), 0); }, 1, outNotCreated,
     EEXIST},
    {"a file instead of the reply FIFO",
     [](ServicePipes& pipes) { support::writeText(pipes.out, "text"); }, 1, outNotCreated, EEXIST},
    {"a directory instead of the reply FIFO",
     [](ServicePipes& pipes) { fs::create_directory(pipes.out); }, 1, outNotCreated, EEXIST},
    {"a dangling link instead of the reply FIFO",
     [](ServicePipes& pipes) { fs::create_symlink("nothing", pipes.out); }, 1, outNotCreated,
     EEXIST},
    {"no directory for the reply FIFO", [](ServicePipes& pipes) { pipes.out = "/nowhere/web.out"; },
     1, outNotCreated, ENOENT},
    {"an unknown group", [](ServicePipes& pipes) { pipes.group = "no such group"; }, 1,
     groupNotChanged, 0},
    {"an empty group", [](ServicePipes& pipes) { pipes.group.clear(); }, 1, groupNotChanged, 0},
    {"no command FIFO", [](ServicePipes& pipes) { fs::remove(pipes.in); }, 11, inMissing, 0},
    {"a command FIFO that is a dangling link",
     [](ServicePipes& pipes) { replaceByLink(pipes.in, "nothing"); }, 1, inNotOpened, EACCES},
    {"a command FIFO that is a directory",
     [](ServicePipes& pipes) { replaceByDirectory(pipes.in); }, 1, inNotOpened, EISDIR},
    {"a command FIFO that is a link to itself",
     [](ServicePipes& pipes) { replaceByLink(pipes.in, "web.in"); }, 1, inNotOpened, EACCES},
    {"a command FIFO that is a socket", [](ServicePipes& pipes) { replaceBySocket(pipes.in); }, 1,
     inNotOpened, ENXIO},
    {"a command FIFO below a file", [](ServicePipes& pipes) { pipes.in = pipes.lock + "/web.in"; },
     1, inNotOpened, ENOTDIR},
};

class TransportFailure : public Transport, public testing::WithParamInterface<Row>
{
protected:
    void SetUp() override { GetParam().prepare(pipes); }

    std::string expectedTrace() const
    {
        const std::string trace = GetParam().trace(pipes);
        return GetParam().error != 0 ? line(trace, GetParam().error) : trace;
    }

    /// The file that a row's trace speaks of.
    std::string fileOf(const Row& row) const
    {
        if (row.trace == lockMissing || row.trace == lockNotOpened) {
            return pipes.lock;
        }
        return row.trace == outNotCreated || row.trace == groupNotChanged ? pipes.out : pipes.in;
    }

    static std::string textOf(const Row& row)
    {
        if (row.trace == groupNotChanged) {
            return "no such group";
        }
        return ostrel::errorText(row.error != 0 ? row.error : ENOENT);
    }

    bool hasLock() const
    {
        std::error_code notFound;
        return fs::is_regular_file(pipes.lock, notFound);
    }
};

TEST_P(TransportFailure, ThrowsItsReturnCodeAndChangesNothing)
{
    const auto filesBefore = files();
    const std::size_t descriptorsBefore = support::openDescriptorCount();
    for (const char* time : {"the first time", "every other time"}) {
        SCOPED_TRACE(time);
        EXPECT_EQ(call(), apiError(GetParam().returnCode));
        EXPECT_EQ(files(), filesBefore);
        EXPECT_EQ(support::openDescriptorCount(), descriptorsBefore);
        EXPECT_EQ(isLockFree(), hasLock());
    }
}

TEST_P(TransportFailure, NamesTheFileAndTheTextOfErrnoInItsReason)
{
    ostrel::Commands command;
    const ostrelApi::CallError error =
        support::callErrorOf([&] { ostrelApi::exchange(command, pipes); });
    EXPECT_EQ(error.getReturnCode(), GetParam().returnCode);
    EXPECT_EQ(error.getDaemonReturnCode(), 0);
    EXPECT_THAT(error.getReason(),
                testing::EndsWith(fileOf(GetParam()) + ": " + textOf(GetParam())));
}

TEST_P(TransportFailure, TracesOneLineWithTheDebugFlag)
{
    const support::CapturedTrace trace;
    call();
    EXPECT_EQ(trace.text(), expectedTrace());
}

TEST_P(TransportFailure, TracesNothingWithoutTheDebugFlag)
{
    const support::CapturedErrors errors;
    call();
    EXPECT_EQ(errors.text(), "");
}

INSTANTIATE_TEST_SUITE_P(Rows, TransportFailure, testing::ValuesIn(rows),
                         [](const testing::TestParamInfo<Row>& row) {
                             std::string name = row.param.sentence;
                             std::replace(name.begin(), name.end(), ' ', '_');
                             return name;
                         });

TEST_F(Transport, WorksAgainOnceALeftoverReplyFifoIsRemoved)
{
    ASSERT_EQ(::mkfifo(pipes.out.c_str(), 0760), 0);
    peer.answer("0 a");
    EXPECT_EQ(call(), apiError(1));
    EXPECT_EQ(call(), apiError(1));
    fs::remove(pipes.out);
    EXPECT_EQ(call(), transport_case::payload("a"));
}

TEST_F(Transport, FailsWhenTheReplyFifoIsRemovedBeforeTheReply)
{
    for (const bool isTraced : {true, false}) {
        peer.play([&](support::ScriptedPeer::Call& caller) {
            // The message is longer than the pipe, so the caller is still writing it.
            caller.meet();
            fs::remove(pipes.out);
            caller.takeMessage();
        });
        const support::CapturedTrace trace(isTraced);
        EXPECT_EQ(callWithLongMessage(), apiError(1));
        peer.finish();
        const std::string own =
            trace.text().substr(std::min(trace.text().find('\n') + 1, trace.text().size()));
        EXPECT_EQ(own, isTraced ? line("Error: Failed to open FIFO OUT file: " + pipes.out + " : ",
                                       ENOENT) +
                                      "The file '" + pipes.out + "' not found for removal.\n"
                                : "");
        expectReleased();
    }
}

TEST_F(Transport, SucceedsWhenAnotherProcessRemovesTheReplyFifo)
{
    peer.play([&](support::ScriptedPeer::Call& caller) {
        caller.takeMessage();
        caller.openReply();
        fs::remove(pipes.out);
        caller.send("0 a");
    });
    const support::CapturedTrace trace;
    EXPECT_EQ(call(), transport_case::payload("a"));
    EXPECT_EQ(trace.text(),
              messageLine() + "The file '" + pipes.out + "' not found for removal.\n");
    expectReleased();
}

} // namespace
