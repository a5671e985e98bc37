#include "integration/DaemonCase.h"

#include "support/StartProgram.h"
#include "support/TestCertificate.h"

#include <gmock/gmock.h>

namespace
{

using support::runProgram;
using support::TestCertificate;
using testing::HasSubstr;
using testing::MatchesRegex;

class Examples : public daemon_case::WithDaemon
{
protected:
    const support::TemporaryDirectory certificates;
};

TEST_F(Examples, CaImportImportsListsReadsAndRevokesTwentyCertificates)
{
    for (int i = 0; i < 20; ++i) {
        TestCertificate certificate;
        certificate.commonName = i == 7 ? "ISRG Root X1" : "Test CA " + std::to_string(i);
        support::writeText(certificates / (std::to_string(i) + ".crt"), certificate.pem());
    }
    const auto run = runProgram({OSTREL_EXAMPLE_CA_IMPORT, "web", certificates.path()});
    EXPECT_EQ(run.status, 0);
    EXPECT_EQ(run.errors, "");
    EXPECT_THAT(run.output, MatchesRegex("added      20\n"
                                         "listed     20, the first is [0-9a-f]{16}\n"
                                         "by name    ISRG Root X1 is [0-9a-f]{16}\n"
                                         "by text    20\n"
                                         "read back  20 equal to what went in\n"
                                         "revoked    20\n"
                                         "left       0\n"));
}

TEST_F(Examples, CaImportReportsWhatWentWrong)
{
    const auto usage = runProgram({OSTREL_EXAMPLE_CA_IMPORT});
    EXPECT_EQ(usage.status, 2);
    EXPECT_THAT(usage.errors, HasSubstr("usage: "));
    support::writeText(certificates / "a.crt", "no certificate");
    const auto failed = runProgram({OSTREL_EXAMPLE_CA_IMPORT, "web", certificates.path()});
    EXPECT_EQ(failed.status, 1);
    EXPECT_THAT(failed.errors, HasSubstr("ca_import: Error -1: "));
}

TEST_F(Examples, FirstCallPrintsTheStatusOfTheService)
{
    const auto run = runProgram({OSTREL_EXAMPLE_FIRST_CALL});
    EXPECT_EQ(run.status, 0);
    EXPECT_EQ(run.output, "Web server: running, 0 CAs\n");
    daemon.stop();
    const auto off = runProgram({OSTREL_EXAMPLE_FIRST_CALL});
    EXPECT_EQ(off.status, 1);
    EXPECT_EQ(off.errors, daemon_case::refusal(11) + '\n');
}

} // namespace
