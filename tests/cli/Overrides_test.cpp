#include "cli/CliCase.h"
#include "support/TextFiles.h"

#include <ostrel/ExternalCertificatesAccessor.h>

namespace
{

using cli_case::answerTo;
using cli_case::json;
using cli_case::run;
using testing::HasSubstr;

class Overrides : public cli_case::WithDaemon
{
protected:
    /// A certificate in each store, as the command line names them.
    std::vector<std::string> places()
    {
        applyNew();
        return {"server", "server/" + service.getServerActiveCertificateId(), "ca/" + addCA("One"),
                "client/" + service.addTrustedClient(cli_case::TestCertificate().pem())};
    }
};

TEST_F(Overrides, AreSetPrintedAndRemovedInAnyStore)
{
    for (const std::string& place : places()) {
        SCOPED_TRACE(place);
        EXPECT_EQ(answerTo({"override", "get", "web", place})["overrides"], json::object());
        EXPECT_EQ(run({"override", "set", "web", place, "alias", "The door"}).status, 0);
        run({"override", "set", "web", place, "place", "Roof"});
        EXPECT_EQ(run({"override", "get", "web", place}).output, "alias  The door\nplace  Roof\n");
        EXPECT_EQ(run({"override", "get", "web", place, "alias"}).output, "The door\n");
        EXPECT_EQ(answerTo({"override", "get", "web", place, "alias"})["value"], "The door");
        EXPECT_EQ(answerTo({"override", "unset", "web", place, "alias"})["overrides"],
                  json({{"place", "Roof"}}));
        EXPECT_EQ(run({"override", "unset", "web", place, "alias"}).status, 0);
        EXPECT_EQ(run({"override", "get", "web", place, "alias"}).status, 1);
        run({"override", "unset", "web", place, "place"});
    }
}

TEST_F(Overrides, TakeTheStartOfAnId)
{
    const std::string id = addCA("One");
    EXPECT_EQ(run({"override", "set", "web", "ca/" + id.substr(0, 3), "a", "b"}).status, 0);
    EXPECT_EQ(answerTo({"override", "get", "web", "ca/" + id})["overrides"]["a"], "b");
}

TEST_F(Overrides, AreReadUpToTheLimitOfTheDaemon)
{
    const std::size_t limit = 1 << 20;
    const std::string id = addCA("One");
    const std::string path =
        ostrel::ExternalCertificatesAccessor("web", "ca").certOverwrittenDataPath(id);
    support::writeText(path, "key " + std::string(limit - 4, 'x'));
    EXPECT_EQ(run({"override", "get", "web", "ca/" + id, "key"}).status, 0);
    support::writeText(path, "key " + std::string(limit - 3, 'x'));
    for (const cli_case::Words& words :
         {cli_case::Words{"override", "get", "web", "ca/" + id},
          cli_case::Words{"override", "set", "web", "ca/" + id, "a", "b"},
          cli_case::Words{"override", "unset", "web", "ca/" + id, "key"}}) {
        const auto finished = run(words);
        EXPECT_EQ(finished.status, 1);
        EXPECT_THAT(finished.errors, HasSubstr(path + " is larger than 1 MiB"));
        EXPECT_EQ(finished.output, "");
    }
    EXPECT_EQ(run({"__complete", "override", "get", "web", "ca/" + id, ""}).output, "");
}

struct Row {
    const char* sentence;
    cli_case::Words words;
    int status;
    const char* why;
};

TEST_F(Overrides, RefuseWhatTheyCannotHold)
{
    const std::string ca = "ca/" + addCA("One");
    const Row rows[] = {
        {"a key with a blank", {"set", "web", ca, "a key", "x"}, 2, "is not an override"},
        {"an empty key", {"set", "web", ca, "", "x"}, 2, "is not an override"},
        {"a value that is a tab", {"set", "web", ca, "key", "\t"}, 2, "is not an override"},
        {"no such store", {"get", "web", "cas/1"}, 2, "there is no store 'cas'"},
        {"a store without an id", {"get", "web", "ca"}, 6, "there is no certificate ''"},
        {"no certificate in use", {"get", "web", "server"}, 6, "doesn't exist"},
        {"a store that the service lacks", {"get", "vpn", "client/1"}, 5, "This target"},
    };
    for (const Row& row : rows) {
        cli_case::Words words = {"override"};
        words.insert(words.end(), row.words.begin(), row.words.end());
        const auto finished = run(words);
        EXPECT_EQ(finished.status, row.status) << row.sentence << finished.errors;
        EXPECT_THAT(finished.errors, HasSubstr(row.why)) << row.sentence;
    }
    EXPECT_EQ(answerTo({"override", "get", "web", ca})["overrides"], json::object());
}

} // namespace
