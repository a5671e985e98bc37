#include "unit/api/ServiceCase.h"

#include "support/CapturedErrors.h"
#include "support/FileSizeLimit.h"

#include <functional>

#include <sys/stat.h>

namespace
{

namespace fs = std::filesystem;
using service_case::externalStores;
using service_case::OstrelService;
using service_case::pem;
using service_case::testNameOf;
using support::apiError;
using support::thrownBy;

/// A service whose look-up by file is supplied by the test.
class OwnLookUp : public OstrelService
{
public:
    using OstrelService::OstrelService;
    std::string getIdCAPath(const std::string& path) override { return look(path); }
    std::string getIdTrustedClientPath(const std::string& path) override { return look(path); }

    std::function<std::string(const std::string&)> look;
};

/// A look-up of a text writes a temporary file, which a look-up by file reads.
class LookUpOfText : public service_case::ExternalStoreCase
{
protected:
    std::string idOf(const std::string& text) { return store.idOfText(web, text); }
    std::string ownIdOf(const std::string& text) { return store.idOfText(own, text); }

    /// Expects only the store's own directory.
    void expectNoFileLeft() const
    {
        for (const std::string& name : pipeFiles()) {
            EXPECT_EQ(name, store.word);
        }
    }

    OwnLookUp own{"web"};
};

INSTANTIATE_TEST_SUITE_P(Of, LookUpOfText, testing::ValuesIn(externalStores), testNameOf);

TEST_P(LookUpOfText, FindsWhatTheLookUpOfAFileFindsAndLeavesNoFile)
{
    putList("9\n10\n");
    put("9", pem("AA\n"));
    put("10", "text before\n" + pem("BB\n"));
    const support::CapturedTrace trace;
    EXPECT_EQ(idOf(pem("AA\n")), "9");
    EXPECT_EQ(idOf("x\n" + pem("BB\n")), "10");
    EXPECT_EQ(idOf(pem("CC\n")), "");
    EXPECT_EQ(idOf("-----BEGIN CERTIFICATE-----\r\nAA\r\n-----END CERTIFICATE-----\r\n"), "");
    EXPECT_EQ(idOf(""), "");
    expectNoFileLeft();
    EXPECT_EQ(trace.text(), "");
}

TEST_P(LookUpOfText, WritesTheTextUnchanged)
{
    const std::string texts[] = {
        "",
        "no line feed",
        "\r\n\r\n",
        pem("AA\n") + pem("BB\n"),
        std::string("a\0b\n", 4),
        std::string(1 << 20, 'x'),
    };
    for (const std::string& text : texts) {
        own.look = [&](const std::string& path) {
            EXPECT_EQ(support::readText(path), text);
            return "the id";
        };
        EXPECT_EQ(ownIdOf(text), "the id");
    }
    expectNoFileLeft();
}

TEST_P(LookUpOfText, CreatesAnotherFileInTheServicesPipeDirectoryEachTime)
{
    std::set<std::string> paths;
    own.look = [&](const std::string& path) {
        EXPECT_TRUE(isTemporaryPath(path)) << path;
        paths.insert(path);
        return "";
    };
    for (int i = 0; i < 100; ++i) {
        ownIdOf("text");
    }
    EXPECT_EQ(paths.size(), 100U);
}

TEST_P(LookUpOfText, DoesNotSetTheModeAndGroupOfTheFile)
{
    for (const mode_t mask : {0U, 022U, 077U}) {
        struct stat status = {};
        own.look = [&](const std::string& path) {
            ::stat(path.c_str(), &status);
            return "";
        };
        const mode_t former = ::umask(mask);
        ownIdOf("text");
        ::umask(former);
        EXPECT_EQ(status.st_mode, S_IFREG | (0666U & ~mask));
        EXPECT_EQ(status.st_gid, ::getegid());
    }
}

struct ThrowRow {
    const char* sentence;
    void (*fail)();
};

// Intended: the file stays when its look-up fails, but not when its writing fails.
TEST_P(LookUpOfText, LeavesTheFileAndPassesTheExceptionOnWhenTheLookUpThrows)
{
    const ThrowRow rows[] = {
        {"an exception of the API", [] { throw ostrelApi::OstrelApiException(33); }},
        {"a standard exception", [] { throw std::out_of_range("text"); }},
        {"any other type", [] { throw 1; }},
    };
    for (const ThrowRow& row : rows) {
        SCOPED_TRACE(row.sentence);
        const support::CapturedTrace trace;
        std::string left;
        own.look = [&](const std::string& path) -> std::string {
            left = path;
            row.fail();
            return "";
        };
        EXPECT_EQ(thrownBy([&] { ownIdOf("given"); }), thrownBy(row.fail));
        EXPECT_EQ(support::readText(left), "given");
        EXPECT_EQ(trace.text(), "");
    }
    EXPECT_EQ(pipeFiles().size(), std::size(rows));
}

TEST_P(LookUpOfText, LeavesTheFileWhenTheListIsMissing)
{
    EXPECT_EQ(thrownBy([&] { idOf(pem("AA\n")); }), apiError(1));
    ASSERT_EQ(pipeFiles().size(), 1U);
    EXPECT_EQ(support::readText(pipes + '/' + *pipeFiles().begin()), pem("AA\n"));
}

TEST_P(LookUpOfText, TracesAFileThatWasRemovedMeanwhileAndKeepsTheResult)
{
    for (const bool isTraced : {true, false}) {
        const support::CapturedTrace trace(isTraced);
        std::string seen;
        own.look = [&](const std::string& path) {
            seen = path;
            fs::remove(path);
            return "the id";
        };
        EXPECT_EQ(ownIdOf("text"), "the id");
        EXPECT_EQ(trace.text(), isTraced ? "Failed to remove file '" + seen + "'.\n" : "");
    }
}

TEST_P(LookUpOfText, FindsNothingWhenTheFileCannotBeCreated)
{
    putList("1\n");
    put("1", pem("AA\n"));
    fs::remove_all(pipes);
    const support::CapturedTrace trace;
    EXPECT_EQ(idOf(pem("AA\n")), "");
    const std::string start = "Failed to remove file '";
    const std::string text = trace.text();
    const std::string path = text.substr(start.size(), pipes.size() + 37);
    EXPECT_TRUE(isTemporaryPath(path)) << path;
    EXPECT_EQ(text, start + path + "'.\n");
}

// A truncated certificate would equal any certificate that starts in the same
// way.
TEST_P(LookUpOfText, FindsNothingWhenTheWritingFails)
{
    putList("1\n");
    put("1", pem("AA\n"));
    const std::string wanted = pem("BB\n");
    for (rlim_t length = 0; length < wanted.size(); ++length) {
        const support::FileSizeLimit limit(length);
        EXPECT_EQ(idOf(wanted), "") << length;
    }
    EXPECT_EQ(idOf(pem("AA\n")), "1");
    expectNoFileLeft();
}

} // namespace
