#include "cli/CliCase.h"

#include <ctime>

namespace
{

using cli_case::answerTo;
using cli_case::json;
using cli_case::run;
using cli_case::TestCertificate;
using testing::HasSubstr;

/// So many days, and an hour, from now, as a certificate says it.
std::string daysFromNow(int days)
{
    const std::time_t time = std::time(nullptr) + days * 86400 + 3600;
    char text[16];
    std::strftime(text, sizeof text, "%Y%m%d%H%M%SZ", std::gmtime(&time));
    return text;
}

class Expiry : public cli_case::WithDaemon
{
protected:
    std::string addCAFor(int days)
    {
        TestCertificate certificate;
        certificate.commonName = std::to_string(days) + " days";
        certificate.notAfter = daysFromNow(days);
        return service.addCA(certificate.pem());
    }

    void applyFor(int days)
    {
        service.createServerCsr();
        TestCertificate certificate;
        certificate.request = service.getServerCsr();
        certificate.issuer = "An authority";
        certificate.isCA = false;
        certificate.notAfter = daysFromNow(days);
        service.applyServerCertificate(certificate.pem());
    }
};

TEST_F(Expiry, OrdersAllCertificatesByTheDaysThatAreLeft)
{
    addCAFor(50);
    addCAFor(-3);
    addCAFor(7);
    applyFor(20);
    std::vector<int> days;
    const json answer = answerTo({"expiry"});
    for (const auto& row : answer["certificates"]) {
        days.push_back(row["daysLeft"]);
        EXPECT_EQ(row["service"], "web");
    }
    EXPECT_EQ(days, (std::vector<int>{-3, 7, 20, 50}));
    EXPECT_THAT(run({"expiry"}).output, HasSubstr("  50  "));
}

TEST_F(Expiry, LeavesOutWhatEndsLater)
{
    addCAFor(50);
    const std::string soon = addCAFor(7);
    const json rows = answerTo({"expiry", "--within", "8"})["certificates"];
    ASSERT_EQ(rows.size(), 1U);
    EXPECT_EQ(rows[0]["id"], soon);
    EXPECT_EQ(rows[0]["store"], "ca");
    EXPECT_EQ(answerTo({"expiry", "--within", "7"})["certificates"].size(), 0U);
}

TEST_F(Expiry, ListsOnlyTheServicesOfTheLine)
{
    addCAFor(50);
    EXPECT_EQ(answerTo({"expiry", "web", "vpn"})["certificates"].size(), 1U);
    EXPECT_EQ(answerTo({"expiry", "vpn"})["certificates"].size(), 0U);
    EXPECT_EQ(run({"expiry", "vpn", "nope"}).status, 5);
}

TEST_F(Expiry, MakesARenewalDueWithinTheDays)
{
    applyFor(20);
    EXPECT_EQ(run({"check-renewal", "web", "--within", "20"}).status, 0);
    EXPECT_EQ(run({"check-renewal", "web", "--within", "21"}).status, 10);
    EXPECT_EQ(run({"check-renewal", "web"}).status, 10);
    EXPECT_EQ(run({"check-renewal"}).status, 10);
    const json answer = answerTo({"check-renewal", "--within", "20"});
    EXPECT_EQ(answer["due"], false);
    EXPECT_EQ(answer["certificates"][0]["daysLeft"], 20);
    EXPECT_EQ(run({"check-renewal"}).errors, "");
}

TEST_F(Expiry, MakesARenewalDueWhileThereIsNoCertificate)
{
    const auto finished = run({"check-renewal", "web", "--within", "0"});
    EXPECT_EQ(finished.status, 10);
    EXPECT_THAT(finished.output, HasSubstr("yes"));
    EXPECT_EQ(answerTo({"check-renewal"})["certificates"].size(), 1U);
}

TEST_F(Expiry, CannotBeTheReasonForAServiceWithoutACertificateOfItsOwn)
{
    EXPECT_EQ(run({"check-renewal", "vpn"}).status, 5);
}

} // namespace
