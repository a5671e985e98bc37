#include "integration/ServerCase.h"

#include <gmock/gmock.h>

#include <unistd.h>

namespace
{

using server_case::ask;

using server_case::refusal;

using testing::HasSubstr;

const char plainRequest[] = "[ req ]\n"
                            "distinguished_name = name\n"
                            "prompt = no\n"
                            "[ name ]\n"
                            "CN = plain.example\n";

class ServerRequest : public server_case::WithServer
{
protected:
    /// The request that the service makes with these settings and this request
    /// configuration.
    ostrl::CCSRData madeWith(const std::string& settings, const std::string& request)
    {
        startWith(settings, request);
        web().createServerCsr();
        return web().getCsrInfo();
    }

    void startWith(const std::string& settings, const std::string& request)
    {
        configure(settings, request);
        daemon.start();
    }

    /// Starts the service with this script as its hook.
    void startWithHook(const std::string& script)
    {
        support::writeText("/etc/ostrel/scripts/hook", "#!/bin/sh\n" + script);
        std::filesystem::permissions("/etc/ostrel/scripts/hook", std::filesystem::perms(0700));
        startWith("cnfHookFile hook\n", plainRequest);
    }

    static std::string commentOf(const std::string& extension, const ostrl::CCSRData& data)
    {
        for (const ostrl::v3Ext& entry : data.v3Extensions) {
            if (entry.short_name == extension) {
                return entry.comment;
            }
        }
        return "";
    }

    static std::string alternativeNames(const ostrl::CCSRData& data)
    {
        return commentOf("subjectAltName", data);
    }
};

TEST_F(ServerRequest, HasAnRsaKeyOf2048BitsByDefault)
{
    const ostrl::CCSRData data = madeWith("", plainRequest);
    EXPECT_EQ(data.publicKeyType, "RSA");
    EXPECT_EQ(data.publicKeySizeBits, 2048);
    EXPECT_EQ(data.signatureAlgorithmType, "sha256WithRSAEncryption");
}

TEST_F(ServerRequest, HasAnRsaKeyAsLargeAsConfigured)
{
    const ostrl::CCSRData data = madeWith("", "[ req ]\ndefault_bits = 2056\n");
    EXPECT_EQ(data.publicKeyType, "RSA");
    EXPECT_EQ(data.publicKeySizeBits, 2056);
}

TEST_F(ServerRequest, HasAKeyOnTheConfiguredCurve)
{
    const ostrl::CCSRData data = madeWith("", server_case::curveRequest);
    EXPECT_EQ(data.publicKeyType, "EC");
    EXPECT_EQ(data.publicKeySizeBits, 256);
    EXPECT_EQ(data.signatureAlgorithmType, "ecdsa-with-SHA256");
}

TEST_F(ServerRequest, HasExactlyTheConfiguredSubject)
{
    const auto subject = madeWith("", "[ req ]\n"
                                      "ec_paramgen_curve = P-256\n"
                                      "distinguished_name = name\n"
                                      "prompt = no\n"
                                      "[ name ]\n"
                                      "C = FR\n"
                                      "0.OU = First\n"
                                      "1.OU = Second\n"
                                      "CN = K\xc3\xb6ln\n")
                             .subjectName;
    EXPECT_EQ(subject.countryCode, "FR");
    EXPECT_EQ(subject.state, "");
    EXPECT_EQ(subject.city, "");
    EXPECT_EQ(subject.companyName, "");
    EXPECT_EQ(subject.divisionNames, (std::vector<std::string>{"First", "Second"}));
    EXPECT_EQ(subject.commonName, "K\xc3\xb6ln");
    EXPECT_EQ(subject.emailAddr, "");
}

TEST_F(ServerRequest, HasTheDefaultNameWithoutAConfiguredSubject)
{
    const auto subject = madeWith("", "[ req ]\nec_paramgen_curve = P-256\n").subjectName;
    using Default = ostrl::CDistinguishedName;
    EXPECT_EQ(subject.countryCode, Default::DEFAULT_COUNTRY_CODE);
    EXPECT_EQ(subject.state, Default::DEFAULT_STATE);
    EXPECT_EQ(subject.city, Default::DEFAULT_CITY);
    EXPECT_EQ(subject.companyName, Default::DEFAULT_COMPANY_NAME);
    EXPECT_EQ(subject.divisionNames, std::vector<std::string>{Default::DEFAULT_DIVISION_NAME});
    EXPECT_EQ(subject.commonName, Default::DEFAULT_COMMON_NAME);
    EXPECT_EQ(subject.emailAddr, Default::DEFAULT_EMAIL_ADDR);
}

TEST_F(ServerRequest, AnswersPromptsWithTheirDefaults)
{
    const auto subject = madeWith("", "[ req ]\n"
                                      "ec_paramgen_curve = P-256\n"
                                      "distinguished_name = name\n"
                                      "[ name ]\n"
                                      "commonName = Your name\n"
                                      "commonName_default = prompted.example\n"
                                      "commonName_max = 64\n"
                                      "0.organizationName = Your company\n"
                                      "0.organizationName_default = Prompted\n")
                             .subjectName;
    EXPECT_EQ(subject.commonName, "prompted.example");
    EXPECT_EQ(subject.companyName, "Prompted");
}

TEST_F(ServerRequest, CarriesTheConfiguredExtensions)
{
    const ostrl::CCSRData data = madeWith("", "[ req ]\n"
                                              "ec_paramgen_curve = P-256\n"
                                              "req_extensions = wanted\n"
                                              "[ wanted ]\n"
                                              "basicConstraints = CA:TRUE\n"
                                              "keyUsage = keyAgreement\n"
                                              "subjectKeyIdentifier = hash\n"
                                              "subjectAltName = @names\n"
                                              "[ names ]\n"
                                              "DNS.1 = a.example\n"
                                              "IP.1 = 192.0.2.1\n");
    EXPECT_EQ(commentOf("keyUsage", data), "Key Agreement");
    EXPECT_EQ(alternativeNames(data), "DNS:a.example, IP Address:192.0.2.1");
    EXPECT_NE(commentOf("subjectKeyIdentifier", data), "");
    web().createServerCsr({true});
    const ostrl::CCSRData compliant = web().getCsrInfo();
    EXPECT_EQ(commentOf("basicConstraints", compliant), "critical, CA:FALSE");
    EXPECT_EQ(commentOf("keyUsage", compliant), "critical, Digital Signature, Key Encipherment");
    EXPECT_EQ(alternativeNames(compliant), "DNS:a.example, IP Address:192.0.2.1");
}

TEST_F(ServerRequest, CarriesTheAddressesOfTheConfiguredInterfaces)
{
    const char withName[] = "[ req ]\n"
                            "ec_paramgen_curve = P-256\n"
                            "req_extensions = wanted\n"
                            "[ wanted ]\n"
                            "subjectAltName = critical, DNS:a.example\n";
    const std::string lo = "networkInterface.0 lo\n";
    const struct {
        const char* sentence;
        std::string settings;
        std::string request;
        std::string names;
    } rows[] = {
        {"IPv4", lo + "includeIPv4.0 yes\n", server_case::curveRequest, "IP Address:127.0.0.1"},
        {"no address", lo, server_case::curveRequest, ""},
        {"no self-assigned address", lo + "includeIPv4Auto.0 yes\n", server_case::curveRequest, ""},
        {"an unknown interface", "networkInterface.0 none\nincludeIPv4.0 yes\n",
         server_case::curveRequest, ""},
        {"in addition to the configured names", lo + "includeIPv4.0 yes\n", withName,
         "critical, DNS:a.example, IP Address:127.0.0.1"},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(alternativeNames(madeWith(row.settings, row.request)), row.names) << row.sentence;
        daemon.stop();
    }
}

TEST_F(ServerRequest, CarriesTheDevicesFullName)
{
    char name[256] = "";
    ASSERT_EQ(::gethostname(name, sizeof name - 1), 0);
    support::Device::replaceSystemFile("/etc/hosts",
                                       std::string("127.0.0.1 localhost\n192.0.2.7 ") + name +
                                           ".example.com " + name + '\n');
    support::Device::replaceSystemFile("/etc/nsswitch.conf",
                                       "passwd: files\ngroup: files\nhosts: files\n");
    EXPECT_EQ(alternativeNames(madeWith("includeFQDN yes\n", server_case::curveRequest)),
              std::string("DNS:") + name + ".example.com");
}

TEST_F(ServerRequest, UsesTheConfigurationThatTheHookPrints)
{
    startWithHook("echo '[ req ]'\n"
                  "echo 'ec_paramgen_curve = P-256'\n"
                  "echo 'distinguished_name = name'\n"
                  "echo 'prompt = no'\n"
                  "echo '[ name ]'\n"
                  "echo \"CN = $#.$1.hooked\"\n");
    web().createServerCsr();
    EXPECT_EQ(web().getCsrInfo().subjectName.commonName, "1.web.hooked");
}

TEST_F(ServerRequest, IsNotMadeWhenTheHookFails)
{
    const struct {
        const char* sentence;
        const char* script;
        int returnCode;
    } rows[] = {
        {"it fails", "echo '[ req ]'; exit 1\n", 14},
        {"it is killed", "kill -9 $$\n", 14},
        {"it prints too much", "yes '# too chatty'\n", 14},
        {"it prints an invalid configuration", "echo '[ req'\n", 25},
        {"it prints a key that is too short", "echo '[ req ]'; echo 'default_bits = 512'\n", 25},
    };
    for (const auto& row : rows) {
        startWithHook(row.script);
        EXPECT_EQ(ask(ostrel::CommandCreateCsr), refusal(row.returnCode)) << row.sentence;
        EXPECT_EQ(web().getServerCsrTimestamp(), 0) << row.sentence;
        daemon.stop();
    }
}

TEST_F(ServerRequest, IsNotMadeWhenTheHookIsMissing)
{
    startWith("cnfHookFile missing\n", plainRequest);
    EXPECT_EQ(ask(ostrel::CommandCreateCsr), refusal(14));
}

TEST_F(ServerRequest, IsNotMadeWhenTheHookTakesTooLong)
{
    startWithHook("exec sleep 1000\n");
    EXPECT_EQ(ask(ostrel::CommandCreateCsr), refusal(14));
    EXPECT_THAT(daemon.log(), HasSubstr("/etc/ostrel/scripts/hook takes too long"));
}

TEST_F(ServerRequest, IsNotMadeFromABadConfiguration)
{
    const std::string req = "[ req ]\n";
    // Rows whose key is good use a curve, because its key is fast to generate.
    const std::string curve = req + "ec_paramgen_curve = P-256\n";
    const std::string named = curve + "distinguished_name = name\nprompt = no\n[ name ]\n";
    const struct {
        const char* sentence;
        std::string text;
    } rows[] = {
        {"a key too short", req + "default_bits = 512\n"},
        {"a key one bit too short", req + "default_bits = 2047\n"},
        {"a key too long", req + "default_bits = 8193\n"},
        {"bits that are not a number", req + "default_bits = many\n"},
        {"bits with trailing text", req + "default_bits = 2048 bits\n"},
        {"a negative number of bits", req + "default_bits = -2048\n"},
        {"another curve", req + "ec_paramgen_curve = P-384\n"},
        {"a section without its end", "[ req\n"},
        {"a line that is not a setting", req + "distinguished_name\n"},
        {"bytes that are not text", std::string("\x7f"
                                                "ELF\0\0",
                                                6)},
        {"a missing section for the name", curve + "distinguished_name = missing\n"},
        {"an unknown attribute", named + "colour = blue\n"},
        {"a country of three letters", named + "C = FRA\n"},
        {"a common name that is too long", named + "CN = " + std::string(65, 'x') + '\n'},
        {"a missing section for the extensions", curve + "req_extensions = missing\n"},
        {"an unknown extension", curve + "req_extensions = wanted\n[ wanted ]\ncolour = blue\n"},
        {"a bad extension", curve + "req_extensions = wanted\n[ wanted ]\nkeyUsage = reading\n"},
    };
    for (const auto& row : rows) {
        startWith("", row.text);
        EXPECT_EQ(ask(ostrel::CommandCreateCsr), refusal(25)) << row.sentence;
        EXPECT_EQ(ask(ostrel::CommandCreateCrt, {"self", "30", "yes"}), refusal(25))
            << row.sentence;
        EXPECT_EQ(web().getServerCsrTimestamp(), 0) << row.sentence;
        daemon.stop();
    }
}

TEST_F(ServerRequest, IsNotMadeWithoutAConfiguration)
{
    startWith("", plainRequest);
    web().createServerCsr();
    const auto before = server_case::treeOf(device.pipesDirectory() + "/web");
    std::filesystem::remove("/etc/ostrel/web.cnf");
    EXPECT_EQ(ask(ostrel::CommandCreateCsr), refusal(25));
    std::filesystem::create_directory("/etc/ostrel/web.cnf");
    EXPECT_EQ(ask(ostrel::CommandCreateCsr), refusal(25));
    EXPECT_EQ(server_case::treeOf(device.pipesDirectory() + "/web"), before);
}

} // namespace
