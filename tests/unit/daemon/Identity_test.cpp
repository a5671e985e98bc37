#include "x509/Identity.h"

#include "support/Device.h"
#include "support/TestCertificate.h"
#include "x509/Certificate.h"
#include "x509/Key.h"
#include "x509/SigningRequest.h"

#include <gmock/gmock.h>

#include <ctime>

namespace
{

using Name = ostrl::CDistinguishedName;

const std::string curve = "[ req ]\nec_paramgen_curve = P-256\n";
const std::string named = curve + "distinguished_name = name\nprompt = no\n[ name ]\n";

std::string textOf(Name name)
{
    std::string text;
    name.to(text);
    return text;
}

Name configured(const std::string& country, const std::string& commonName)
{
    Name name;
    name.clear();
    name.countryCode = country;
    name.commonName = commonName;
    return name;
}

class Identity : public testing::Test
{
protected:
    void SetUp() override
    {
        device.addService("web", "server yes\ncnfFile /x\nnetworkInterface.0 lo\n"
                                 "includeIPv4.0 yes\n");
    }

    ostrel::ServiceConfiguration web() const { return ostrel::ServiceConfiguration("web"); }

    std::string subjectWith(const std::string& configuration) const
    {
        const ostreld::Identity made = ostreld::makeRequest(web(), configuration, false);
        return textOf(ostreld::SigningRequest(made.pem).record().subjectName);
    }

    const support::Device device;
};

TEST_F(Identity, HasTheConfiguredSubjectOrElseTheDefaultName)
{
    Name byDefault;
    byDefault.setToDefault();
    const struct {
        const char* sentence;
        std::string configuration;
        Name subject;
    } rows[] = {
        {"a common name alone", named + "CN = web.example\n", configured("", "web.example")},
        {"a country alone", named + "C = FR\n", configured("FR", "")},
        {"both", named + "C = FR\nCN = web.example\n", configured("FR", "web.example")},
        {"prompts with one default",
         curve + "distinguished_name = name\n[ name ]\nC = Country\nCN = Name\n"
                 "CN_default = web.example\n",
         configured("", "web.example")},
        {"no distinguished_name", curve, byDefault},
        {"an empty section", named, byDefault},
        {"prompts without a default",
         curve + "distinguished_name = name\n[ name ]\nC = Country\nCN = Name\n", byDefault},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(subjectWith(row.configuration), textOf(row.subject)) << row.sentence;
    }
}

TEST_F(Identity, OfARequestIsItsKeyAndItsNetworkNames)
{
    const ostreld::Identity made = ostreld::makeRequest(web(), named + "CN = a\n", true);
    const ostreld::SigningRequest request(made.pem);
    EXPECT_TRUE(ostreld::Key::fromPem(made.key.view()).matches(request.publicKey()));
    EXPECT_EQ(made.network, "IP:127.0.0.1\n");
    EXPECT_EQ(request.record().v3Extensions.size(), 4U);
}

TEST_F(Identity, OfASelfSignedCertificateIsItsKeyAndItsNetworkNames)
{
    const ostreld::Identity made = ostreld::makeSelfSigned(web(), named + "CN = a\n", 30);
    const ostreld::Certificate certificate(made.pem);
    EXPECT_TRUE(ostreld::Key::fromPem(made.key.view()).matches(certificate.publicKey()));
    EXPECT_TRUE(certificate.isSelfSigned());
    EXPECT_EQ(certificate.commonName(), "a");
    EXPECT_EQ(made.network, "IP:127.0.0.1\n");
}

TEST_F(Identity, OfASelfSignedCertificateIsValidFromItsStartUntilTheMarginBeforeItsEnd)
{
    const std::int64_t before = std::time(nullptr);
    const ostreld::Certificate certificate(
        ostreld::makeSelfSigned(web(), named + "CN = a\n", 30).pem);
    const ostreld::Validity validity = certificate.validity();
    const auto [start, end] = validity;
    EXPECT_GE(start, before);
    EXPECT_EQ(end - start, 30 * 86400);
    EXPECT_FALSE(validity.covers(start - 1, 0));
    EXPECT_TRUE(validity.covers(start, 0));
    EXPECT_TRUE(validity.covers(end - 1, 0));
    EXPECT_FALSE(validity.covers(end, 0));
    EXPECT_TRUE(validity.covers(end - 101, 100));
    EXPECT_FALSE(validity.covers(end - 100, 100));
}

} // namespace
