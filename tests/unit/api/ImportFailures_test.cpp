#include "api/Steps.h"

#include "unit/api/ImportCase.h"

#include "errors/Interrupted.h"
#include "support/CapturedErrors.h"
#include "support/FileWatch.h"
#include "support/Interruption.h"
#include "support/Textless.h"
#include "tools/Descriptor.h"

#include <gmock/gmock.h>

#include <cstring>
#include <future>

#include <sys/file.h>

namespace
{

namespace fs = std::filesystem;
using service_case::externalStores;
using service_case::messageLine;
using service_case::OstrelService;
using service_case::pem;
using service_case::testNameOf;
using support::apiError;
using support::ScriptedPeer;
using support::Textless;
using support::thrownBy;

class ImportFailure : public service_case::ImportCase
{
protected:
    /// A service with another group and its own pipe directory, but without a
    /// daemon.
    OstrelService serviceOf(const std::string& group) const
    {
        device.addService("odd", "managmentGroup " + group + "\nca yes\ntrustedClients yes\n");
        return OstrelService("odd");
    }

    std::string thrownByAddTo(OstrelService& service) const
    {
        return thrownBy([&] { store.add(service, pem("AA\n")); });
    }

    const std::string oddPipes = device.pipesDirectory() + "/odd";
};

INSTANTIATE_TEST_SUITE_P(Of, ImportFailure, testing::ValuesIn(externalStores), testNameOf);

std::string messageOf(int returnCode)
{
    return ostrelApi::OstrelApiException(returnCode).what();
}

const std::string caughtLine = "Exception caught while adding certificate.";

// Intended: only the trace contains the daemon's own return code.
TEST_P(ImportFailure, ThrowsReturnCode1ForAnyCodeOfTheDaemon)
{
    for (int code = 1; code <= 43; ++code) {
        for (const bool isTraced : {true, false}) {
            const support::CapturedTrace trace(isTraced);
            lookAndAnswer(std::to_string(code) + " reason");
            EXPECT_EQ(thrownByAdd(pem("AA\n")), apiError(1));
            EXPECT_EQ(trace.text(), isTraced
                                        ? messageLine(addMessage(seen.path)) +
                                              "Action failed while sending command to server.\n" +
                                              caughtLine + messageOf(code) + '\n'
                                        : "");
            expectNoFileLeft();
        }
    }
}

TEST_P(ImportFailure, ThrowsTheDaemonsReturnCodeAndReason)
{
    lookAndAnswer("33 already there");
    const ostrelApi::CallError error = support::callErrorOf([&] { store.add(web, pem("AA\n")); });
    EXPECT_EQ(error.getReturnCode(), 1);
    EXPECT_EQ(error.getDaemonReturnCode(), 33);
    EXPECT_EQ(error.getReason(), "already there");
}

TEST_P(ImportFailure, NamesTheLockFileWithoutADaemon)
{
    fs::remove(peer.lockPath());
    const ostrelApi::CallError error = support::callErrorOf([&] { store.add(web, pem("AA\n")); });
    EXPECT_EQ(error.getReturnCode(), 1);
    EXPECT_EQ(error.getDaemonReturnCode(), 0);
    EXPECT_EQ(error.getReason(),
              "cannot open the lock file " + peer.lockPath() + ": No such file or directory");
}

TEST_P(ImportFailure, NamesTheFileThatCannotBeWritten)
{
    OstrelService odd = serviceOf("root");
    fs::remove_all(oddPipes);
    const std::string reason =
        support::callErrorOf([&] { store.add(odd, pem("AA\n")); }).getReason();
    EXPECT_THAT(reason, testing::MatchesRegex("cannot write " + oddPipes +
                                              "/[^/]+[.]crt: No such file or directory"));
}

TEST_P(ImportFailure, NamesAGroupThatDoesNotExist)
{
    OstrelService odd = serviceOf("no such group");
    const std::string reason =
        support::callErrorOf([&] { store.add(odd, pem("AA\n")); }).getReason();
    EXPECT_THAT(reason, testing::MatchesRegex("cannot give to the group 'no such group' the file " +
                                              oddPipes + "/[^/]+[.]crt: no such group"));
}

TEST_P(ImportFailure, TracesTheReturnCodeOfTheDaemon)
{
    const support::CapturedTrace trace;
    lookAndAnswer("33 ");
    EXPECT_EQ(thrownByAdd(pem("AA\n")),
              "ostrelApi::CallError: Error -1: Generic exception (1 - Action Failed)");
    EXPECT_EQ(trace.text().substr(trace.text().rfind("Exception caught")),
              "Exception caught while adding certificate.Error 6: Already present "
              "(33 - The certificate authority already exist)\n");
}

TEST_P(ImportFailure, TracesAFileThatTheDaemonRemovedBeforeItsRefusal)
{
    const support::CapturedTrace trace;
    removeAndAnswer("9 ");
    EXPECT_EQ(thrownByAdd(pem("AA\n")), apiError(1));
    EXPECT_EQ(trace.text(), messageLine(addMessage(seen.path)) +
                                "Action failed while sending command to server.\n" +
                                "Error: File cannot be deleted: " + seen.path + '\n' + caughtLine +
                                messageOf(9) + '\n');
}

TEST_P(ImportFailure, ByASignalKeepsTheTextOfEintr)
{
    support::Interruption interruption;
    const support::CapturedTrace trace;
    peer.play([&](ScriptedPeer::Call& caller) {
        caller.takeMessage();
        interruption.untilOver();
    });
    const std::string thrown = thrownByAdd(pem("AA\n"));
    interruption.over();
    peer.finish();
    EXPECT_EQ(thrown, std::string("std::runtime_error: ") + std::strerror(EINTR));
    const std::string text = trace.text();
    EXPECT_EQ(text.substr(text.rfind("Standard")),
              "Standard exception caught while adding certificate." +
                  std::string(std::strerror(EINTR)) + '\n');
    expectNoFileLeft();
}

TEST_P(ImportFailure, ThrowsReturnCode1ForAMalformedReply)
{
    for (const char* reply : {"", " ", "x", "x 7"}) {
        peer.answer(reply);
        EXPECT_EQ(thrownByAdd(pem("AA\n")), apiError(1)) << reply;
        expectNoFileLeft();
    }
}

TEST_P(ImportFailure, ThrowsReturnCode1WhenTheDaemonEnds)
{
    peer.hangUpAndAnswer("");
    EXPECT_EQ(thrownByAdd(pem("AA\n")), apiError(1));
    peer.finish();
    expectNoFileLeft();
}

TEST_P(ImportFailure, ThrowsReturnCode1WithoutADaemon)
{
    fs::remove(peer.lockPath());
    const support::CapturedTrace trace;
    EXPECT_EQ(thrownByAdd(pem("AA\n")), apiError(1));
    EXPECT_EQ(trace.text(), "Failed to open the file '" + peer.lockPath() +
                                "'. Looks like the 'ostreld' service is not running.\n" +
                                caughtLine + messageOf(11) + '\n');
    EXPECT_EQ(pipeFiles(), std::set<std::string>{"web.in"});
}

TEST_P(ImportFailure, OfASecondConcurrentImportDoesNotAffectTheFirst)
{
    service_case::HeldCall held(peer, "0 first");
    auto first = std::async(std::launch::async, [&] { return add(pem("AA\n")); });
    held.awaitCall();
    const std::set<std::string> before = pipeFiles();
    {
        const support::CapturedTrace trace;
        EXPECT_EQ(thrownByAdd(pem("BB\n")), apiError(1));
        EXPECT_EQ(trace.text(), std::string("Error: file already locked : ") +
                                    std::strerror(EWOULDBLOCK) + '\n' + caughtLine + messageOf(2) +
                                    '\n');
    }
    EXPECT_EQ(pipeFiles(), before);
    held.answer();
    EXPECT_EQ(first.get(), "first");
    EXPECT_EQ(peer.messages().size(), 1U);
    expectNoFileLeft();
}

TEST_P(ImportFailure, ForAnUnknownGroupComesBeforeTheMessage)
{
    OstrelService odd = serviceOf("nobody-knows-it");
    const support::CapturedTrace trace;
    EXPECT_EQ(thrownByAddTo(odd), apiError(1));
    EXPECT_EQ(trace.text(),
              "Error: Change the group of the out file to 'nobody-knows-it' failed.\n" +
                  caughtLine + messageOf(1) + '\n');
    EXPECT_TRUE(fs::is_empty(oddPipes));
}

TEST_P(ImportFailure, ToCreateTheFileIsTracedByTheChangeOfItsGroup)
{
    OstrelService odd = serviceOf("root");
    fs::remove(oddPipes);
    const support::CapturedTrace trace;
    EXPECT_EQ(thrownByAddTo(odd), apiError(1));
    const std::string text = trace.text();
    const std::string notDeleted = "Error: File cannot be deleted: ";
    const std::string path = text.substr(notDeleted.size(), oddPipes.size() + 37);
    EXPECT_EQ(text, notDeleted + path +
                        "\nStandard exception caught while adding certificate."
                        "Runtime error caught while changing group for file '" +
                        path + "': Impossible to change the group for " + path + '\n');
    EXPECT_FALSE(fs::exists(oddPipes));
}

TEST_P(ImportFailure, ToReadTheGivenFileComesBeforeAnyChange)
{
    const std::string socket = device.storeDirectory() + "/socket";
    support::makeUnopenable(socket);
    const support::CapturedTrace trace;
    const support::FileWatch watch({pipes});
    for (const std::string& path :
         {device.storeDirectory() + "/missing", socket, device.storeDirectory(), std::string()}) {
        EXPECT_EQ(thrownBy([&] { addFile(path); }), apiError(1)) << path;
    }
    EXPECT_EQ(watch.touched(), std::set<std::string>());
    EXPECT_EQ(trace.text(), "");
}

struct TierRow {
    const char* sentence;
    void (*fail)();
    std::string traced;
    std::string thrown;
};

TEST(FailImport, TracesTheTierAndKeepsOnlyAnInterruption)
{
    const std::string interrupted = std::strerror(EINTR);
    const std::string asInterrupted = "std::runtime_error: " + interrupted;
    const TierRow rows[] = {
        {"an exception of the API", [] { throw ostrelApi::OstrelApiException(2); },
         "a: " + messageOf(2), apiError(1)},
        {"an exception of the API without a text",
         [] { throw Textless<ostrelApi::OstrelApiException>(2); }, "a: Unknown error", apiError(1)},
        {"a standard exception", [] { throw std::out_of_range("why"); }, "b: why", apiError(1)},
        {"a standard exception without a text", [] { throw Textless<>(); }, "b: Unknown error",
         apiError(1)},
        {"an interruption by a signal", [] { throw ostrelApi::Interrupted(); }, "b: " + interrupted,
         asInterrupted},
        {"another exception with the same text",
         [] { throw std::runtime_error(std::strerror(EINTR)); }, "b: " + interrupted, apiError(1)},
        {"any other type", [] { throw 1; }, "c.", apiError(1)},
    };
    for (const TierRow& row : rows) {
        SCOPED_TRACE(row.sentence);
        const support::CapturedTrace trace;
        EXPECT_EQ(thrownBy([&] {
                      try {
                          row.fail();
                      } catch (...) {
                          ostrelApi::failImport({"a: ", "b: ", "c."});
                      }
                  }),
                  row.thrown);
        EXPECT_EQ(trace.text(), row.traced + '\n');
    }
}

} // namespace
