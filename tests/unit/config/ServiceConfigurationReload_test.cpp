#include <ostrel/ServiceConfiguration.h>

#include "support/AllocationFault.h"
#include "support/Thrown.h"
#include "unit/config/ServiceFile.h"

#include <gmock/gmock.h>

#include <filesystem>

namespace
{

using ostrel::ServiceConfiguration;
using service_file::ServiceFile;
using support::thrownBy;
using testing::Contains;
using testing::ElementsAre;
using testing::SizeIs;

const std::string full = "name Web\n"
                         "server yes\ncnfFile /cnf\nselfSignedValidity 10\nCASignedGeneration yes\n"
                         "networkInterface.0 eth0\nincludeIPv4.0 yes\n"
                         "ca yes\nmaximumCA 5\nuniqueCaByCn yes\n"
                         "trustedClients yes\nmaximumTrustedClients 6\n"
                         "uniqueTrustedClientByCn yes\n"
                         "CertDailyExpiryChkTimeOffsetSecs 7\n";

TEST(Reload, ReadsTheFileAgain)
{
    const ServiceFile file;
    ServiceConfiguration service = file.read(full);
    file.write("name Other\nserver yes\ncnfHookFile /hook\n");
    service.reload();
    EXPECT_EQ(service.m_serviceName, "web");
    EXPECT_EQ(service.m_name, "Other");
    EXPECT_EQ(service.m_cnfFile, "");
    EXPECT_EQ(service.m_cnfHookFile, "/hook");
    EXPECT_EQ(service.m_selfSignedValidity, 30U);
    EXPECT_FALSE(service.m_CASignedGeneration);
    EXPECT_EQ(service.m_certDailyExpiryChkTimeOffsetSecs, 0U);
}

TEST(Reload, ResetsTheLimitsThatTheFileNoLongerSets)
{
    const ServiceFile file;
    ServiceConfiguration service = file.read(full);
    file.write("ca yes\ntrustedClients yes\nmaximumTrustedClients 9\n");
    service.reload();
    EXPECT_EQ(service.m_maximumCA, 0);
    EXPECT_EQ(service.m_maximumTrustedClients, 0);
    EXPECT_FALSE(service.m_uniqueCaByCn);
    EXPECT_FALSE(service.m_uniqueTrustedClientByCn);
}

TEST(Reload, KeepsTheMembersOfASectionThatIsNowDisabled)
{
    const ServiceFile file;
    ServiceConfiguration service = file.read(full);
    file.write("");
    service.reload();
    EXPECT_FALSE(service.m_server || service.m_ca || service.m_trustedClients);
    EXPECT_EQ(service.m_name, "");
    EXPECT_EQ(service.m_cnfFile, "/cnf");
    EXPECT_EQ(service.m_selfSignedValidity, 10U);
    EXPECT_TRUE(service.m_CASignedGeneration);
    EXPECT_EQ(service.m_maximumCA, 5);
    EXPECT_TRUE(service.m_uniqueCaByCn);
    EXPECT_EQ(service.m_maximumTrustedClients, 6);
    EXPECT_TRUE(service.m_uniqueTrustedClientByCn);
    EXPECT_THAT(service.m_networkInterfaces, ElementsAre("eth0"));
}

TEST(Reload, AddsNetworkInterfacesToThoseAlreadyThere)
{
    const ServiceFile file;
    ServiceConfiguration service = file.read(full);
    service.reload();
    EXPECT_THAT(service.m_networkInterfaces, ElementsAre("eth0", "eth0"));
    EXPECT_THAT(service.m_networkConfigurations, SizeIs(1));
    file.write("server yes\ncnfFile /cnf\nnetworkInterface.0 wlan0\nnetworkInterface.1 eth0\n");
    service.reload();
    EXPECT_THAT(service.m_networkInterfaces, ElementsAre("eth0", "eth0", "wlan0", "eth0"));
    EXPECT_THAT(service.m_networkConfigurations, SizeIs(2));
    EXPECT_FALSE(service.getNetworkInterfaces("eth0").m_includeIPv4) << "replaced";
}

TEST(Reload, ThatFailsKeepsTheValuesReadBeforeTheFault)
{
    const ServiceFile file;
    ServiceConfiguration service = file.read(full);
    file.write("name Other\nserver yes\ncnfFile /other\nselfSignedValidity 20\n"
               "selfSignedValidityOffset 20\nCAServiceId unread\n");
    EXPECT_NE(thrownBy([&] { service.reload(); }), "nothing");
    EXPECT_EQ(service.m_name, "Other");
    EXPECT_EQ(service.m_cnfFile, "/other");
    EXPECT_EQ(service.m_selfSignedValidity, 20U);
    EXPECT_EQ(service.m_selfSignedValidityOffset, 20U);
    EXPECT_EQ(service.m_CAServiceId, "") << "not yet read";
    EXPECT_TRUE(service.m_CASignedGeneration) << "not yet read";
    EXPECT_FALSE(service.m_ca) << "read before the fault";
    EXPECT_EQ(service.m_maximumCA, 5) << "not yet read";
}

TEST(Reload, ThatRefusesTheExpiryCheckOffsetKeepsIt)
{
    const ServiceFile file;
    ServiceConfiguration service = file.read(full);
    file.write("name Other\nCertDailyExpiryChkTimeOffsetSecs 86400\n");
    EXPECT_NE(thrownBy([&] { service.reload(); }), "nothing");
    EXPECT_EQ(service.m_name, "Other");
    EXPECT_EQ(service.m_certDailyExpiryChkTimeOffsetSecs, 86400U);
}

TEST(Reload, OfAMissingFileFailsAndChangesNothing)
{
    const ServiceFile file;
    ServiceConfiguration service = file.read(full);
    std::filesystem::remove(file.device.serviceDirectory() + "/web.conf");
    EXPECT_EQ(thrownBy([&] { service.reload(); }),
              "std::runtime_error: No configuration file for the service web");
    EXPECT_EQ(service.m_name, "Web");
    EXPECT_TRUE(service.m_server);
}

// The numbers are so long that reading them allocates memory: only an
// allocation can fail there.
const std::string paddedSeven = " 0000000000000000000000007\n";
const std::string longNumbers =
    "CertDailyExpiryChkTimeOffsetSecs" + paddedSeven +
    "server yes\ncnfFile /cnf\nselfSignedValidity " +
    "0000000000000000000000008\nselfSignedValidityOffset" + paddedSeven + "CASignedValidity " +
    "0000000000000000000000008\nCASignedValidityOffset" + paddedSeven + "ca yes\nmaximumCA" +
    paddedSeven + "trustedClients yes\nmaximumTrustedClients" + paddedSeven;

TEST(ReloadWithoutMemory, NamesTheValueThatItWasReading)
{
    const ServiceFile file;
    ServiceConfiguration service = file.read(longNumbers);
    const auto reload = [&] { service.reload(); };
    const auto standard = support::thrownWithoutMemory(reload, support::failAsOutOfMemory);
    const auto generic =
        support::thrownWithoutMemory(reload, support::failWithNonStandardException);
    for (const char* name :
         {" certificate expiry check offset time", ": self-signed validity",
          ": self-signed validity offset", ": CA-signed validity", ": CA-signed validity offset",
          ": maximum CA", ": maximum trusted client"}) {
        const std::string reading =
            std::string(" exception caught while reading config parameter") + name;
        EXPECT_THAT(standard,
                    Contains("std::runtime_error: Standard" + reading + " - std::bad_alloc"));
        EXPECT_THAT(generic, Contains("std::runtime_error: Generic" + reading + "."));
    }
}

} // namespace
