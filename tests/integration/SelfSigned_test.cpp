#include "integration/ServerCase.h"

#include "support/Await.h"

#include <ostrel/Tools.h>

#include <gmock/gmock.h>

#include <ctime>

namespace
{

namespace fs = std::filesystem;
using server_case::ask;
using server_case::payload;
using server_case::refusal;
using testing::HasSubstr;

constexpr std::time_t secondsPerDay = 86400;

// Without the C library, which knows no year after 2038 on some devices.
std::string yearOf(std::int64_t seconds)
{
    int year = 1970;
    while (ostrel::Tools::days_from_1970(year + 1) <= seconds / secondsPerDay) {
        ++year;
    }
    return std::to_string(year);
}

class SelfSigned : public server_case::WithServer
{
protected:
    void startWith(const std::string& settings)
    {
        configure(settings);
        daemon.start({"--debug"});
    }

    /// Tells the daemon that the time, or the network, changed, and waits until
    /// the service has drawn its conclusions.
    void changeTime() const
    {
        tell(ostrelApi::OstrelService::notifyTime, "end of the certificate");
    }
    void changeNetwork() const
    {
        tell(ostrelApi::OstrelService::notifyNetwork, "addresses of the device");
    }
    void tell(void (*notify)(), const std::string& subject) const
    {
        const support::RunningDaemon::LogMark mark(daemon);
        notify();
        mark.await("web: looked at the " + subject);
    }

    /// Starts the daemon anew, with other settings.
    void restartWith(const std::string& settings)
    {
        daemon.stop();
        startWith(settings);
    }

    static std::string idInUse() { return web().getServerActiveCertificateId(); }
    bool isOneInUse() const { return fs::exists(paths.activePath()); }

    static std::int64_t numberOf(const std::string& key)
    {
        return std::stoll(web().getServerCertificateInfo("").at(key));
    }

    void awaitAnother(const std::string& id) const
    {
        support::awaitChange(paths.cachedDirectoryPath(), "another certificate in use",
                             [&] { return isOneInUse() && idInUse() != id; });
    }
};

TEST_F(SelfSigned, IsMadeAtTheStartForAServiceWithoutACertificate)
{
    startWith("selfSignedGeneration yes\nselfSignedValidity 10\n");
    const auto info = web().getServerCertificateInfo("");
    EXPECT_EQ(info.at("selfSigned"), "yes");
    EXPECT_EQ(info.at("issuedTo"), info.at("issuedBy"));
    EXPECT_EQ(numberOf("validUntil") - numberOf("validFrom"), 10 * secondsPerDay);
    EXPECT_TRUE(support::isKeyOf(web().getServerCertificate(""), web().getServerKey("")));
    const std::string id = idInUse();
    daemon.restart();
    EXPECT_EQ(idInUse(), id);
}

TEST_F(SelfSigned, IsNotMadeForAServiceThatDoesNotAskForOne)
{
    startWith("selfSignedOnExpiration yes\n");
    EXPECT_FALSE(isOneInUse());
}

TEST_F(SelfSigned, IsMadeWhenAReloadAsksForOne)
{
    startWith("");
    configure("selfSignedGeneration yes\n");
    daemon.reload("web: self-signed certificate");
    EXPECT_EQ(ask(ostrel::CommandPath), payload(paths.certPath(idInUse())));
}

TEST_F(SelfSigned, IsMadeWhenAReloadByACallAsksForOne)
{
    startWith("");
    configure("selfSignedGeneration yes\n");
    web().reloadService();
    EXPECT_TRUE(isOneInUse());
    EXPECT_EQ(ask(ostrel::CommandPath), payload(paths.certPath(idInUse())));
}

TEST_F(SelfSigned, IsReplacedAtTheStartWhenItIsAboutToEnd)
{
    startWith("selfSignedGeneration yes\nselfSignedValidity 10\n");
    const std::string id = idInUse();
    const struct {
        const char* sentence;
        const char* settings;
        bool isReplaced;
    } rows[] = {
        {"more days are left than the offset",
         "selfSignedOnExpiration yes\nselfSignedValidity 20\nselfSignedValidityOffset 9\n", false},
        {"nobody asked for it", "selfSignedValidity 20\nselfSignedValidityOffset 10\n", false},
        {"as many days are left as the offset",
         "selfSignedOnExpiration yes\nselfSignedValidity 20\nselfSignedValidityOffset 10\n", true},
        {"the new one is not about to end",
         "selfSignedOnExpiration yes\nselfSignedValidity 20\nselfSignedValidityOffset 10\n", true},
    };
    for (const auto& row : rows) {
        restartWith(row.settings);
        EXPECT_EQ(idInUse() != id, row.isReplaced) << row.sentence;
    }
    const std::string replaced = idInUse();
    EXPECT_EQ(numberOf("validUntil") - numberOf("validFrom"), 20 * secondsPerDay);
    daemon.restart();
    EXPECT_EQ(idInUse(), replaced);
}

TEST_F(SelfSigned, IsReplacedWhenTheTimeChangedAndItIsAboutToEnd)
{
    startWith("selfSignedOnExpiration yes\nselfSignedValidity 20\nselfSignedValidityOffset 10\n");
    ask(ostrel::CommandCreateCrt, {"self", "10", "yes"});
    const std::string id = idInUse();
    changeTime();
    EXPECT_NE(idInUse(), id);
    EXPECT_EQ(numberOf("validUntil") - numberOf("validFrom"), 20 * secondsPerDay);
}

TEST_F(SelfSigned, StaysWhenTheTimeChangedAndItIsNotAboutToEnd)
{
    startWith("selfSignedOnExpiration yes\nselfSignedValidity 20\nselfSignedValidityOffset 9\n");
    ask(ostrel::CommandCreateCrt, {"self", "10", "yes"});
    const std::string id = idInUse();
    changeTime();
    EXPECT_EQ(idInUse(), id);
}

TEST_F(SelfSigned, IsReplacedByTheDailyCheck)
{
    const std::string settings =
        "selfSignedOnExpiration yes\nselfSignedValidity 20\nselfSignedValidityOffset 10\n";
    startWith(settings);
    const std::time_t soon = std::time(nullptr) + 2;
    configure(settings + "CertDailyExpiryChkTimeOffsetSecs " +
              std::to_string(soon % secondsPerDay) + '\n');
    web().reloadService();
    ask(ostrel::CommandCreateCrt, {"self", "10", "yes"});
    const std::string id = idInUse();
    awaitAnother(id);
    EXPECT_GE(numberOf("validFrom"), soon);
    EXPECT_EQ(numberOf("validUntil") - numberOf("validFrom"), 20 * secondsPerDay);
}

TEST_F(SelfSigned, LeavesACertificateOfAnAuthorityAlone)
{
    startWith("selfSignedGeneration yes\nselfSignedOnExpiration yes\n"
              "selfSignedValidity 30000\nselfSignedValidityOffset 29999\n"
              "networkInterface.0 lo\nincludeIPv4.0 yes\n");
    const std::string id = applyNew();
    changeTime();
    changeNetwork();
    EXPECT_EQ(idInUse(), id);
    daemon.restart();
    EXPECT_EQ(idInUse(), id);
}

TEST_F(SelfSigned, IsNotMadeBeforeTheEarliestDate)
{
    const std::string path = "/etc/ostrel/config.daemon";
    const std::string tomorrow = std::to_string(std::time(nullptr) + secondsPerDay);
    support::writeText(path,
                       support::readText(path) + "minDateForGeneratingCert " + tomorrow + '\n');
    startWith("selfSignedGeneration yes\n");
    EXPECT_FALSE(isOneInUse());
    EXPECT_THAT(daemon.log(), HasSubstr("the clock is before minDateForGeneratingCert"));
    EXPECT_EQ(ask(ostrel::CommandCreateCrt, {"self", "30", "yes"}), refusal(1));
    // What an authority made is none of the daemon's making.
    applyNew();
    EXPECT_TRUE(isOneInUse());
}

TEST_F(SelfSigned, IsMadeByTheDailyCheckOnceTheEarliestDateIsReached)
{
    const std::time_t soon = std::time(nullptr) + 2;
    const std::string path = "/etc/ostrel/config.daemon";
    support::writeText(path, support::readText(path) + "minDateForGeneratingCert " +
                                 std::to_string(soon) + '\n');
    startWith("selfSignedGeneration yes\nCertDailyExpiryChkTimeOffsetSecs " +
              std::to_string((soon + 1) % secondsPerDay) + '\n');
    awaitAnother("");
    EXPECT_GE(numberOf("validFrom"), soon);
}

TEST_F(SelfSigned, FollowsTheAddressesOfTheDevice)
{
    startWith("selfSignedGeneration yes\n");
    const std::string id = idInUse();
    changeNetwork();
    configure("selfSignedGeneration yes\nnetworkInterface.0 lo\nincludeIPv4.0 yes\n");
    web().reloadService();
    EXPECT_EQ(idInUse(), id);
    changeNetwork();
    EXPECT_NE(idInUse(), id);
    EXPECT_EQ(web().getServerCertificateInfo("").at("IP.1"), "127.0.0.1");
    const std::string withAddress = idInUse();
    changeNetwork();
    EXPECT_EQ(idInUse(), withAddress);
}

TEST_F(SelfSigned, IsNotMadeForADayThatNoCertificateCanName)
{
    for (const char* days : {"36501", "2932897", "4294967295"}) {
        startWith("selfSignedGeneration yes\nselfSignedValidity " + std::string(days) + '\n');
        EXPECT_FALSE(isOneInUse()) << days;
        EXPECT_THAT(daemon.log(), HasSubstr("selfSignedValidity")) << days;
        EXPECT_EQ(daemon_case::askStatus("web"), payload("running")) << days;
        daemon.stop();
    }
}

TEST_F(SelfSigned, TellsOfAnEndThatIsFarAway)
{
    daemon.start();
    for (const std::int64_t days : {1, 8400, 36500}) {
        SCOPED_TRACE(days);
        const std::int64_t now = std::time(nullptr);
        ask(ostrel::CommandCreateCrt, {"self", std::to_string(days), "yes"});
        const ostrl::CCertificateData record = web().getServerCertInfo();
        EXPECT_NEAR(static_cast<double>(numberOf("validFrom")), static_cast<double>(now), 20);
        EXPECT_EQ(numberOf("validUntil") - numberOf("validFrom"), days * secondsPerDay);
        EXPECT_EQ(record.validNotBeforeDate, static_cast<std::uint64_t>(numberOf("validFrom")));
        EXPECT_EQ(record.validNotAfterDate, static_cast<std::uint64_t>(numberOf("validUntil")));
        EXPECT_EQ(record.validityDays, days);
        EXPECT_THAT(web().getServerCertificateDetails(""),
                    HasSubstr(yearOf(numberOf("validUntil")) + " GMT\n"));
    }
}

} // namespace
