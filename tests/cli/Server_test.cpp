#include "cli/CliCase.h"

#include <ctime>

namespace
{

using cli_case::answerTo;
using cli_case::FinishedProgram;
using cli_case::json;
using cli_case::run;
using cli_case::Words;
using testing::HasSubstr;
using testing::StartsWith;

class Server : public cli_case::WithDaemon
{
protected:
    /// Gets a certificate with the program alone, and returns its id.
    std::string applyByProgram()
    {
        EXPECT_EQ(run({"server", "csr", "create", "web"}).status, 0);
        const std::string request = run({"server", "csr", "show", "web"}).output;
        const std::string answer = file("answer.pem", {support::certificateFor(request)});
        return answerTo({"server", "apply", "web", answer})["id"];
    }
};

TEST_F(Server, GetsACertificateWithTheProgramAlone)
{
    const std::string id = applyByProgram();
    EXPECT_EQ(id, service.getServerActiveCertificateId());
    EXPECT_EQ(run({"server", "show", "web"}).output, service.getServerCertificate(""));
    EXPECT_EQ(run({"server", "show", "web", id.substr(0, 4)}).output,
              service.getServerCertificate(""));
    EXPECT_EQ(answerTo({"server", "list", "web"})["certificates"][0]["id"], id);
    EXPECT_EQ(answerTo({"services"})["services"][1]["stores"]["server"]["certificates"], 1);
}

TEST_F(Server, ShowsWhatItHas)
{
    const std::string id = applyByProgram();
    EXPECT_EQ(run({"server", "key", "web"}).output, support::readText(paths.certKeyPath(id)));
    EXPECT_EQ(run({"server", "path", "web"}).output, paths.certPath(id) + '\n');
    EXPECT_EQ(run({"server", "details", "web"}).output,
              support::readText(paths.certDetailsPath(id)));
    const json summary = answerTo({"server", "info", "web"})["summary"];
    EXPECT_EQ(summary["keyInTpm"], false);
    EXPECT_EQ(summary["selfSigned"], false);
    EXPECT_THAT(run({"server", "info", "web"}).output, HasSubstr("key in TPM   no\n"));
    EXPECT_EQ(answerTo({"server", "record", "web"})["record"]["keyType"], "EC");
}

TEST_F(Server, ShowsItsPendingRequest)
{
    const std::time_t before = std::time(nullptr);
    EXPECT_EQ(run({"server", "csr", "create", "web"}).output, "web: a request is pending\n");
    const std::string request = support::readText(paths.csrPath());
    EXPECT_EQ(run({"server", "csr", "show", "web"}).output, request);
    EXPECT_EQ(run({"server", "csr", "web"}).output, request);
    EXPECT_EQ(answerTo({"server", "csr", "info", "web"})["record"]["keyBits"], 256);
    const json age = answerTo({"server", "csr", "age", "web"});
    EXPECT_LE(age["seconds"], std::time(nullptr) - before + 1);
    EXPECT_EQ(run({"server", "csr", "age", "web"}).status, 0);
}

TEST_F(Server, CreatesACompliantRequest)
{
    EXPECT_EQ(run({"server", "csr", "create", "web", "--compliant"}).status, 0);
    EXPECT_THAT(answerTo({"server", "csr", "info", "web"})["record"]["extensions"].dump(),
                HasSubstr("TLS Web Client Authentication"));
}

TEST_F(Server, RevokesItsCertificateAndSucceedsWithoutOne)
{
    const std::string id = applyByProgram();
    EXPECT_EQ(answerTo({"server", "revoke", "web"})["revoked"], id);
    EXPECT_EQ(answerTo({"server", "revoke", "web"})["revoked"], nullptr);
    EXPECT_EQ(run({"server", "revoke", "web"}).status, 0);
    EXPECT_EQ(run({"server", "list", "web"}).status, 0);
}

TEST_F(Server, HasNothingToShowBeforeItsFirstCertificate)
{
    for (const char* command : {"show", "info", "record", "details", "path", "key"}) {
        EXPECT_EQ(run({"server", command, "web"}).status, 6) << command;
    }
    for (const char* command : {"show", "info", "age"}) {
        EXPECT_EQ(run({"server", "csr", command, "web"}).status, 6) << command;
    }
    EXPECT_EQ(answerTo({"server", "list", "web"})["certificates"], json::array());
}

TEST_F(Server, TakesOnlyTheCertificateThatAnswersTheRequest)
{
    const std::string other = file("other.pem", {cli_case::TestCertificate().pem()});
    const FinishedProgram early = run({"server", "apply", "web", other});
    EXPECT_EQ(early.status, 6);
    EXPECT_THAT(early.errors, HasSubstr("The CSR doesn't exist"));
    run({"server", "csr", "create", "web"});
    const FinishedProgram wrong = run({"server", "apply", "web", other});
    EXPECT_EQ(wrong.status, 8);
    EXPECT_THAT(wrong.errors, HasSubstr("Certificate and CSR are not matching"));
    const std::string pem = cli_case::TestCertificate().pem();
    EXPECT_THAT(run({"server", "apply", "web", file("two.pem", {pem, pem})}).errors,
                HasSubstr("holds 2 certificates"));
    EXPECT_EQ(leftovers(), std::set<std::string>());
}

} // namespace
