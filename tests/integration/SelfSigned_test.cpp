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

// Without the C library, whose time_t ends in 2038 on some devices.
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

    /// Notifies the daemon of a change and waits until the service has checked
    /// its certificate.
    void changeTime() const
    {
        notifyAndAwait(ostrelApi::OstrelService::notifyTime, "end of the certificate");
    }
    void changeNetwork() const
    {
        notifyAndAwait(ostrelApi::OstrelService::notifyNetwork, "addresses of the device");
    }
    void notifyAndAwait(void (*notify)(), const std::string& subject) const
    {
        const support::RunningDaemon::LogMark mark(daemon);
        notify();
        mark.await("web: done: check the " + subject);
    }

    /// Restarts the daemon with other settings.
    void restartWith(const std::string& settings)
    {
        daemon.stop();
        startWith(settings);
    }

    static std::string activeId() { return web().getServerActiveCertificateId(); }
    bool isOneActive() const { return fs::exists(paths.activePath()); }

    static std::int64_t numberOf(const std::string& key)
    {
        return std::stoll(web().getServerCertificateInfo("").at(key));
    }

    void awaitAnother(const std::string& id) const
    {
        support::awaitChange(paths.cachedDirectoryPath(), "another active certificate",
                             [&] { return isOneActive() && activeId() != id; });
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
    const std::string id = activeId();
    daemon.restart();
    EXPECT_EQ(activeId(), id);
}

TEST_F(SelfSigned, IsNotMadeForAServiceThatDoesNotEnableIt)
{
    startWith("selfSignedOnExpiration yes\n");
    EXPECT_FALSE(isOneActive());
}

TEST_F(SelfSigned, IsMadeWhenAReloadEnablesIt)
{
    startWith("");
    configure("selfSignedGeneration yes\n");
    daemon.reload("web: self-signed certificate");
    EXPECT_EQ(ask(ostrel::CommandPath), payload(paths.certPath(activeId())));
}

TEST_F(SelfSigned, IsMadeWhenACallReloadsAConfigurationThatEnablesIt)
{
    startWith("");
    configure("selfSignedGeneration yes\n");
    web().reloadService();
    EXPECT_TRUE(isOneActive());
    EXPECT_EQ(ask(ostrel::CommandPath), payload(paths.certPath(activeId())));
}

TEST_F(SelfSigned, IsReplacedAtTheStartWhenItIsAboutToExpire)
{
    startWith("selfSignedGeneration yes\nselfSignedValidity 10\n");
    const std::string id = activeId();
    const struct {
        const char* sentence;
        const char* settings;
        bool isReplaced;
    } rows[] = {
        {"more days are left than the offset",
         "selfSignedOnExpiration yes\nselfSignedValidity 20\nselfSignedValidityOffset 9\n", false},
        {"replacement is not enabled", "selfSignedValidity 20\nselfSignedValidityOffset 10\n",
         false},
        {"as many days are left as the offset",
         "selfSignedOnExpiration yes\nselfSignedValidity 20\nselfSignedValidityOffset 10\n", true},
        {"the new one is not about to expire",
         "selfSignedOnExpiration yes\nselfSignedValidity 20\nselfSignedValidityOffset 10\n", true},
    };
    for (const auto& row : rows) {
        restartWith(row.settings);
        EXPECT_EQ(activeId() != id, row.isReplaced) << row.sentence;
    }
    const std::string replaced = activeId();
    EXPECT_EQ(numberOf("validUntil") - numberOf("validFrom"), 20 * secondsPerDay);
    daemon.restart();
    EXPECT_EQ(activeId(), replaced);
}

TEST_F(SelfSigned, IsReplacedWhenTheTimeChangedAndItIsAboutToExpire)
{
    startWith("selfSignedOnExpiration yes\nselfSignedValidity 20\nselfSignedValidityOffset 10\n");
    ask(ostrel::CommandCreateCrt, {"self", "10", "yes"});
    const std::string id = activeId();
    changeTime();
    EXPECT_NE(activeId(), id);
    EXPECT_EQ(numberOf("validUntil") - numberOf("validFrom"), 20 * secondsPerDay);
}

TEST_F(SelfSigned, StaysWhenTheTimeChangedAndItIsNotAboutToExpire)
{
    startWith("selfSignedOnExpiration yes\nselfSignedValidity 20\nselfSignedValidityOffset 9\n");
    ask(ostrel::CommandCreateCrt, {"self", "10", "yes"});
    const std::string id = activeId();
    changeTime();
    EXPECT_EQ(activeId(), id);
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
    const std::string id = activeId();
    awaitAnother(id);
    EXPECT_GE(numberOf("validFrom"), soon);
    EXPECT_EQ(numberOf("validUntil") - numberOf("validFrom"), 20 * secondsPerDay);
}

TEST_F(SelfSigned, DoesNotReplaceACertificateOfAnAuthority)
{
    startWith("selfSignedGeneration yes\nselfSignedOnExpiration yes\n"
              "selfSignedValidity 30000\nselfSignedValidityOffset 29999\n"
              "networkInterface.0 lo\nincludeIPv4.0 yes\n");
    const std::string id = applyNew();
    changeTime();
    changeNetwork();
    EXPECT_EQ(activeId(), id);
    daemon.restart();
    EXPECT_EQ(activeId(), id);
}

TEST_F(SelfSigned, IsNotMadeBeforeTheEarliestDate)
{
    const std::string path = "/etc/ostrel/config.daemon";
    const std::string tomorrow = std::to_string(std::time(nullptr) + secondsPerDay);
    support::writeText(path,
                       support::readText(path) + "minDateForGeneratingCert " + tomorrow + '\n');
    startWith("selfSignedGeneration yes\n");
    EXPECT_FALSE(isOneActive());
    EXPECT_THAT(daemon.log(), HasSubstr("the clock is before minDateForGeneratingCert"));
    EXPECT_EQ(ask(ostrel::CommandCreateCrt, {"self", "30", "yes"}), refusal(1));
    // The earliest date does not apply to a certificate that an authority
    // issued.
    applyNew();
    EXPECT_TRUE(isOneActive());
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

TEST_F(SelfSigned, IsReplacedWhenTheAddressesOfTheDeviceChanged)
{
    startWith("selfSignedGeneration yes\n");
    const std::string id = activeId();
    changeNetwork();
    configure("selfSignedGeneration yes\nnetworkInterface.0 lo\nincludeIPv4.0 yes\n");
    web().reloadService();
    EXPECT_EQ(activeId(), id);
    changeNetwork();
    EXPECT_NE(activeId(), id);
    EXPECT_EQ(web().getServerCertificateInfo("").at("IP.1"), "127.0.0.1");
    const std::string withAddress = activeId();
    changeNetwork();
    EXPECT_EQ(activeId(), withAddress);
}

TEST_F(SelfSigned, IsNotMadeWhenItsEndDateCannotBeEncoded)
{
    for (const char* days : {"36501", "2932897", "4294967295"}) {
        startWith("selfSignedGeneration yes\nselfSignedValidity " + std::string(days) + '\n');
        EXPECT_FALSE(isOneActive()) << days;
        EXPECT_THAT(daemon.log(), HasSubstr("selfSignedValidity")) << days;
        EXPECT_EQ(daemon_case::askStatus("web"), payload("running")) << days;
        daemon.stop();
    }
}

TEST_F(SelfSigned, ReportsAnEndDateFarInTheFuture)
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
