#include "integration/ServerCase.h"

#include <atomic>
#include <thread>

namespace
{

/// What one look at the store saw.
struct Look {
    std::string id;
    std::string certificate;
    std::string key;
};

// Certificate and key of the active id, as an application reads them.
Look look()
{
    ostrelApi::OstrelService web("web");
    Look seen;
    seen.id = web.getServerActiveCertificateId();
    seen.certificate = web.getServerCertificate(seen.id);
    seen.key = web.getServerKey(seen.id);
    return seen;
}

std::string faultOf(const Look& seen)
{
    if (support::fingerprintId(seen.certificate) != seen.id) {
        return "another certificate than the one named";
    }
    return support::isKeyOf(seen.certificate, seen.key) ? "" : "another key than the certificate's";
}

class ServerSwitch : public server_case::WithServer
{
protected:
    /// Looks repeatedly until `isEnough`; returns the first fault that it saw.
    static std::string watch(const std::atomic<bool>& isEnough, int& looks)
    {
        for (; !isEnough; ++looks) {
            const std::string fault = faultOfOneLook();
            if (!fault.empty()) {
                return fault;
            }
        }
        return "";
    }

    // A change removes the set before the last one, so only a reader that two
    // changes overtook may find its set gone.
    static std::string faultOfOneLook()
    {
        const std::string before = web().getServerActiveCertificateId();
        try {
            return faultOf(look());
        } catch (const ostrelApi::OstrelApiException& caught) {
            const bool isOvertaken = web().getServerActiveCertificateId() != before;
            return isOvertaken ? "" : caught.getErrorMessage();
        }
    }
};

TEST_F(ServerSwitch, ShowsEachReaderTheOldSetOrTheNewOne)
{
    daemon.start();
    applyNew();
    std::atomic<bool> isEnough{false};
    std::string fault;
    int looks = 0;
    std::thread reader([&] { fault = watch(isEnough, looks); });
    for (int i = 0; i < 50; ++i) {
        applyNew();
    }
    isEnough = true;
    reader.join();
    EXPECT_EQ(fault, "");
    EXPECT_GT(looks, 50);
}

TEST_F(ServerSwitch, KeepsTheFormerSetForOneMoreChange)
{
    daemon.start();
    const std::string id = applyNew();
    const std::string key = web().getServerKey(id);
    applyNew();
    EXPECT_EQ(web().getServerKey(id), key);
    EXPECT_TRUE(support::isKeyOf(web().getServerCertificate(id), key));
    applyNew();
    EXPECT_FALSE(std::filesystem::exists(paths.certKeyPath(id)));
}

TEST_F(ServerSwitch, SucceedsWhenTheOldestSetCannotBeRemoved)
{
    daemon.start();
    const std::string oldest = paths.certNetworkPath(applyNew());
    applyNew();
    std::filesystem::remove(oldest);
    std::filesystem::create_directory(oldest);
    const std::string id = applyNew();
    EXPECT_TRUE(support::isKeyOf(web().getServerCertificate(id), web().getServerKey(id)));
    EXPECT_FALSE(std::filesystem::exists(paths.csrPath()));
    EXPECT_NE(daemon.log().find("web: cannot remove"), std::string::npos);
}

TEST_F(ServerSwitch, RevokesACertificateWhoseFilesCannotAllBeRemoved)
{
    daemon.start();
    const std::string id = applyNew();
    const std::string network = paths.certNetworkPath(id);
    std::filesystem::remove(network);
    std::filesystem::create_directory(network);
    EXPECT_EQ(server_case::ask(ostrel::CommandRevoke), server_case::payload(id));
    EXPECT_EQ(server_case::ask(ostrel::CommandPath), server_case::refusal(20));
    EXPECT_FALSE(std::filesystem::exists(paths.certKeyPath(id)));
    EXPECT_FALSE(std::filesystem::exists(paths.certPath(id)));
    EXPECT_NE(daemon.log().find("web: cannot remove " + network), std::string::npos);
}

TEST_F(ServerSwitch, AcceptsTheCertificateOfARequestWhoseKeyCannotBeRenamed)
{
    daemon.start();
    web().createServerCsr();
    const std::string former = web().getServerCsr();
    std::filesystem::remove(paths.csrKeyPath());
    std::filesystem::create_directory(paths.csrKeyPath());
    web().createServerCsr();
    EXPECT_NE(web().getServerCsr(), former);
    daemon.restart();
    web().applyServerCertificate(support::certificateFor(web().getServerCsr()));
    const std::string id = web().getServerActiveCertificateId();
    EXPECT_TRUE(support::isKeyOf(web().getServerCertificate(id), web().getServerKey(id)));
    EXPECT_FALSE(std::filesystem::exists(paths.csrPath()));
}

} // namespace
