#include "unit/api/StockedService.h"

#include "support/AllocationFault.h"
#include "support/CapturedErrors.h"
#include "support/FileWatch.h"
#include "support/Interruption.h"

#include <gmock/gmock.h>

#include <cerrno>
#include <cstring>
#include <iostream>

namespace
{

namespace fs = std::filesystem;
using ostrelApi::OstrelApiException;
using service_case::messageLine;
using service_case::messageStart;
using service_case::OstrelService;
using service_case::pem;
using service_case::StockedService;
using support::apiError;
using support::CapturedTrace;
using support::ScriptedPeer;
using support::thrownBy;
using testing::HasSubstr;

class ServerImport : public StockedService
{
protected:
    static std::string thrownByText(OstrelService& service)
    {
        return thrownBy([&] { service.applyServerCertificate(pem("2\n")); });
    }
    std::string thrownByFile(OstrelService& service) const
    {
        return thrownBy([&] { service.applyServerCertificateFile(newFile); });
    }

    OstrelService web{"web"};
    ScriptedPeer peer{device, "web"};
};

/// What an import sent to the daemon.
struct Imported {
    std::string path;
    std::string text;
};

class ServerImportFile : public ServerImport
{
protected:
    /// What `import` sends; the peer accepts it.
    Imported handedOverBy(const std::function<void()>& import)
    {
        Imported imported;
        peer.play([&](ScriptedPeer::Call& call) {
            call.takeMessage();
            const std::string message = peer.lastMessage();
            imported.path = message.substr(message.rfind('\t') + 1);
            imported.text = support::readText(imported.path);
            call.openReply();
            call.send("0 anything");
        });
        EXPECT_EQ(thrownBy(import), "nothing");
        return imported;
    }
};

TEST_F(ServerImportFile, WritesTheTextToATemporaryFileOfTheService)
{
    const Imported imported =
        handedOverBy([&] { web.applyServerCertificate("text\r\n" + pem("a\r\nb\r")); });
    EXPECT_EQ(peer.lastMessage(), messageStart() + "server\tapplycrt\t" + imported.path);
    EXPECT_EQ(imported.path.size(), (pipes + '/' + ".crt").size() + 32);
    EXPECT_EQ(fs::path(imported.path).parent_path(), pipes);
    EXPECT_EQ(imported.text, "text\n" + pem("a\nb\r") + '\n');
    EXPECT_FALSE(fs::exists(imported.path));
}

// Intended: one line feed for the line after the last, and one for the text.
TEST_F(ServerImportFile, WritesAFileWithTwoMoreLineFeeds)
{
    const Imported imported = handedOverBy([&] { web.applyServerCertificateFile(newFile); });
    EXPECT_EQ(peer.lastMessage(), messageStart() + "server\tapplycrt\t" + imported.path);
    EXPECT_EQ(imported.text, support::readText(newFile) + "\n\n");
    EXPECT_FALSE(fs::exists(imported.path));
}

TEST_F(ServerImport, WithoutAPendingRequestFailsBeforeItReadsOrSendsAnything)
{
    fs::remove(csr);
    const std::set<std::string> filesBefore = pipeFiles();
    const CapturedTrace trace;
    const support::FileWatch watch({scratch.path(), pipes});
    EXPECT_EQ(thrownByText(web), apiError(21));
    EXPECT_EQ(thrownByFile(web), apiError(21));
    EXPECT_EQ(thrownBy([&] { web.applyServerCertificateFile("/no/such/file"); }), apiError(21));
    EXPECT_EQ(watch.touched(), std::set<std::string>());
    EXPECT_TRUE(peer.messages().empty());
    EXPECT_EQ(pipeFiles(), filesBefore);
    EXPECT_EQ(trace.text(), "");
}

/// An application's own service, which overrides the time of the request.
struct OwnTimestamp : OstrelService {
    explicit OwnTimestamp(std::int64_t time) : OstrelService("web"), timestamp(time) {}
    std::int64_t getServerCsrTimestamp() override { return timestamp; }
    const std::int64_t timestamp;
};

TEST_F(ServerImport, UsesTheVirtualOperationToCheckForAPendingRequest)
{
    OwnTimestamp none(0);
    EXPECT_EQ(thrownByText(none), apiError(21));
    EXPECT_EQ(thrownByFile(none), apiError(21));
    fs::remove(csr);
    for (const std::int64_t time : {std::int64_t{1}, std::int64_t{-1}, INT64_MIN}) {
        OwnTimestamp pending(time);
        peer.answer("0 ");
        EXPECT_EQ(thrownByText(pending), "nothing") << time;
        peer.answer("0 ");
        EXPECT_EQ(thrownByFile(pending), "nothing") << time;
    }
}

TEST_F(ServerImport, OfAFileThatCannotBeReadFailsAndSendsNothing)
{
    for (const std::string& path : {std::string("/no/such/file"), scratch.path()}) {
        EXPECT_EQ(thrownBy([&] { web.applyServerCertificateFile(path); }), apiError(1)) << path;
    }
    EXPECT_TRUE(peer.messages().empty());
}

class ServerImportRefusal : public ServerImport
{
protected:
    /// The trace lines of the import itself when the daemon refuses with
    /// `code`.
    std::string importTrace(int code) const
    {
        return messageLine(peer.lastMessage()) +
               "Action failed while sending command to server.\n" +
               "Exception caught while adding certificate." + OstrelApiException(code).what() +
               '\n';
    }
};

// Intended: the second line has only the import's own code 1.
TEST_F(ServerImportRefusal, OfATextIsTracedTwiceAndThrowsReturnCode1)
{
    const CapturedTrace trace;
    peer.answer("26 ");
    EXPECT_EQ(thrownByText(web), apiError(1));
    EXPECT_EQ(trace.text(), importTrace(26) + "Exception caught while adding certificate. " +
                                OstrelApiException(1).what() + '\n');
}

TEST_F(ServerImportRefusal, OfAFileIsTracedOnlyByTheImport)
{
    const CapturedTrace trace;
    peer.answer("26 ");
    EXPECT_EQ(thrownByFile(web), apiError(1));
    EXPECT_EQ(trace.text(), importTrace(26));
}

TEST_F(ServerImportRefusal, TracesNothingWithoutTheDebugFlag)
{
    const support::CapturedErrors errors;
    peer.answer("26 ");
    EXPECT_EQ(thrownByText(web), apiError(1));
    peer.answer("26 ");
    EXPECT_EQ(thrownByFile(web), apiError(1));
    EXPECT_EQ(errors.text(), "");
}

class ServerImportSignal : public ServerImport
{
protected:
    /// What `import` throws when a signal ends its wait for the reply.
    std::string thrownWhenInterrupted(const std::function<std::string()>& import)
    {
        support::Interruption interruption;
        peer.play([&](ScriptedPeer::Call& call) {
            call.takeMessage();
            interruption.untilOver();
        });
        const std::string thrown = import();
        interruption.over();
        peer.finish();
        return thrown;
    }

    std::string importTrace() const
    {
        return messageLine(peer.lastMessage()) +
               "Error: Failed to open FIFO OUT file: " + peer.outPath() + " : " + interrupted +
               "\nStandard exception caught while adding certificate." + interrupted + '\n';
    }

    const std::string interrupted = std::strerror(EINTR);
    const std::string expected = "std::runtime_error: " + interrupted;
};

TEST_F(ServerImportSignal, KeepsItsTextInAnImportOfAText)
{
    const CapturedTrace trace;
    EXPECT_EQ(thrownWhenInterrupted([&] { return thrownByText(web); }), expected);
    EXPECT_EQ(trace.text(), importTrace() + "Standard exception caught while adding certificate. " +
                                interrupted + '\n');
}

TEST_F(ServerImportSignal, KeepsItsTextInAnImportOfAFile)
{
    const CapturedTrace trace;
    EXPECT_EQ(thrownWhenInterrupted([&] { return thrownByFile(web); }), expected);
    EXPECT_EQ(trace.text(), importTrace());
}

/// A failure of the system during the import of a text, and its last trace
/// line.
struct FaultRow {
    const char* sentence;
    support::Failure failure;
    const char* trace;
    /// What the steps before the import itself throw.
    const char* untold;
};

TEST_F(ServerImport, OfATextThrowsReturnCode1ForEveryFailureOfTheSystem)
{
    const FaultRow rows[] = {
        {"no memory", support::failAsOutOfMemory,
         "Standard exception caught while adding certificate. std::bad_alloc\n",
         "std::bad_alloc: std::bad_alloc"},
        {"another standard exception", support::failWithRuntimeError,
         "Standard exception caught while adding certificate. injected\n",
         "std::runtime_error: injected"},
        {"no standard exception", support::failWithNonStandardException,
         "Unknown exception caught while adding certificate.\n", "no standard exception"},
    };
    fs::remove(peer.lockPath());
    for (const FaultRow& row : rows) {
        const CapturedTrace trace;
        const auto import = [&] {
            // A stream whose allocation failed prints nothing until it is
            // cleared.
            std::cerr.clear();
            web.applyServerCertificate("text");
        };
        EXPECT_THAT(support::thrownWithoutMemory(import, row.failure),
                    testing::UnorderedElementsAre(apiError(1), row.untold))
            << row.sentence;
        EXPECT_THAT(trace.text(), HasSubstr(row.trace)) << row.sentence;
        std::cerr.clear();
    }
}

} // namespace
