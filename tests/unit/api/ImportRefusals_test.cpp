#include "unit/api/ImportCase.h"

#include <ostrel/InternalCertificatesAccessor.h>

namespace
{

using service_case::OstrelService;
using service_case::pem;
using service_case::ServiceCase;
using support::apiError;
using support::ScriptedPeer;
using support::thrownBy;

/// A store that accepts certificates, and the keyword of the command that adds
/// one.
struct Row {
    ostrel::TypeTarget target;
    const char* words;
};

const Row rows[] = {
    {ostrel::TargetServer, "server\tapplycrt\t"},
    {ostrel::TargetCA, "ca\tadd\t"},
    {ostrel::TargetClient, "client\tadd\t"},
};

class ImportCertificate : public ServiceCase
{
protected:
    ImportCertificate() { support::writeText(csr, "pending"); }

    std::string thrownByImport(ostrel::TypeTarget target)
    {
        return thrownBy([&] { web.importCertificate(target, pem("AA\n")); });
    }
    void expectNoFileLeft() const
    {
        for (const std::string& name : pipeFiles()) {
            EXPECT_EQ(name.find(".crt"), std::string::npos) << name;
        }
    }

    const std::string csr = ostrel::InternalCertificatesAccessor("web", "server").csrPath();
    OstrelService web{"web"};
    ScriptedPeer peer{device, "web"};
};

TEST_F(ImportCertificate, SendsTheCertificateToTheStoreAndReturnsTheReply)
{
    for (const Row& row : rows) {
        peer.answer("0 the id");
        EXPECT_EQ(web.importCertificate(row.target, pem("AA\n")), "the id");
        EXPECT_NE(peer.lastMessage().find(row.words + pipes + '/'), std::string::npos);
        expectNoFileLeft();
    }
}

TEST_F(ImportCertificate, ThrowsTheReturnCodeOfTheDaemon)
{
    for (const Row& row : rows) {
        for (int code = 1; code <= 43; ++code) {
            peer.answer(std::to_string(code) + " reason");
            EXPECT_EQ(thrownByImport(row.target), apiError(code)) << row.words;
            expectNoFileLeft();
        }
    }
}

TEST_F(ImportCertificate, RequiresAPendingRequestForTheServer)
{
    std::filesystem::remove(csr);
    EXPECT_EQ(thrownByImport(ostrel::TargetServer), apiError(21));
    EXPECT_TRUE(peer.messages().empty());
}

TEST_F(ImportCertificate, RequiresTheStore)
{
    device.addService("bare", "managmentGroup root\n");
    OstrelService bare("bare");
    for (int target = -1; target <= 5; ++target) {
        EXPECT_EQ(
            thrownBy([&] { bare.importCertificate(static_cast<ostrel::TypeTarget>(target), "x"); }),
            apiError(7))
            << target;
    }
}

TEST_F(ImportCertificate, ThrowsActionFailedWhenItCannotWriteItsFile)
{
    std::filesystem::remove_all(pipes);
    for (const Row& row : rows) {
        const ostrelApi::CallError error =
            support::callErrorOf([&] { web.importCertificate(row.target, pem("AA\n")); });
        EXPECT_EQ(error.getReturnCode(), 1) << row.words;
        EXPECT_EQ(error.getReason().rfind("cannot write " + pipes + '/', 0), 0U)
            << error.getReason();
    }
}

TEST_F(ImportCertificate, NamesTheLockThatItHolds)
{
    EXPECT_EQ(web.getLockPath(), peer.lockPath());
}

} // namespace
