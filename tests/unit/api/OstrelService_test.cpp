#include "unit/api/ServiceCase.h"

#include <ostrel/DaemonConfiguration.h>
#include <ostrel/ServiceConfiguration.h>

#include "support/CapturedErrors.h"
#include "support/FileWatch.h"
#include "tools/Descriptor.h"

#include <gmock/gmock.h>

#include <type_traits>

#include <sys/file.h>

namespace
{

namespace fs = std::filesystem;
using ostrel::Descriptor;
using service_case::OstrelService;
using support::apiError;
using support::thrownBy;
using testing::UnorderedElementsAre;

static_assert(std::is_polymorphic<OstrelService>::value, "");
static_assert(std::has_virtual_destructor<OstrelService>::value, "");
static_assert(!std::is_copy_constructible<OstrelService>::value, "");
static_assert(!std::is_copy_assignable<OstrelService>::value, "");
static_assert(!std::is_convertible<std::string, OstrelService>::value, "");

class Service : public service_case::ServiceCase
{
};

std::string thrownByConstruction(const std::string& service)
{
    return thrownBy([&] { const OstrelService unused(service); });
}

struct RefusedRow {
    const char* sentence;
    const char* configuration;
    const char* expected;
};

TEST_F(Service, CannotBeConstructedWithoutAConfigurationFile)
{
    EXPECT_EQ(thrownByConstruction("nobody"),
              "std::runtime_error: No configuration file for the service nobody");
    EXPECT_EQ(thrownByConstruction(""),
              "std::runtime_error: No configuration file for the service ");
}

TEST_F(Service, CannotBeConstructedFromARefusedConfiguration)
{
    const RefusedRow rows[] = {
        {"an expiry check after the end of the day", "CertDailyExpiryChkTimeOffsetSecs 86400\n",
         "std::runtime_error: Invalid config parameter: certificate expiry check offset time "
         "should be greater than zero and less than seconds in one day."},
        {"an offset as long as the validity",
         "server yes\ncnfFile /c\nselfSignedGeneration yes\nselfSignedOnExpiration yes\n"
         "selfSignedValidity 2\nselfSignedValidityOffset 2\n",
         "std::runtime_error: Invalid config parameter: selfsigned validity offset should be less "
         "than validity."},
    };
    for (const RefusedRow& row : rows) {
        device.addService("bad", row.configuration);
        EXPECT_EQ(thrownByConstruction("bad"), row.expected) << row.sentence;
    }
}

TEST_F(Service, CanBeConstructedOnceTheDaemonConfigurationExists)
{
    const std::string configuration = support::readText("/etc/ostrel/config.daemon");
    fs::remove("/etc/ostrel/config.daemon");
    for (int i = 0; i < 2; ++i) {
        EXPECT_EQ(thrownByConstruction("web"), "std::runtime_error: Failed to open configuration "
                                               "file : /etc/ostrel/config.daemon");
    }
    support::Device::writeDaemonConfiguration(configuration);
    EXPECT_EQ(thrownByConstruction("web"), "nothing");
}

TEST_F(Service, LeavesNoDescriptorOpenWhenConstructedOrFailed)
{
    const std::size_t before = support::openDescriptorCount();
    {
        const OstrelService web("web");
        EXPECT_EQ(support::openDescriptorCount(), before);
        thrownByConstruction("nobody");
    }
    EXPECT_EQ(support::openDescriptorCount(), before);
}

TEST_F(Service, TouchesNoPipeAndNoStoreUntilItIsUsed)
{
    const std::string store = device.storeDirectory() + "/web";
    fs::create_directories(store);
    support::writeText(pipes + "/web.lock", "");
    const support::FileWatch watch({pipes, store});
    const OstrelService web("web");
    web.hasServer();
    web.maxCA();
    web.getServiceName();
    EXPECT_EQ(watch.touched(), std::set<std::string>());
    support::readText(pipes + "/web.lock");
    EXPECT_EQ(watch.touched(), std::set<std::string>{"web.lock"}) << "the watch notices a read";
}

struct CapabilityRow {
    const char* sentence;
    const char* configuration;
    bool hasServer;
    bool hasCA;
    unsigned short maxCA;
    bool hasTrustedClient;
    unsigned short maxTrustedClient;
};

TEST_F(Service, ReturnsTheCapabilitiesOfItsConfiguration)
{
    const CapabilityRow rows[] = {
        {"nothing", "", false, false, 0, false, 0},
        {"the server certificate", "server yes\ncnfFile /c\n", true, false, 0, false, 0},
        {"CAs", "ca yes\n", false, true, 0, false, 0},
        {"trusted clients", "trustedClients yes\n", false, false, 0, true, 0},
        {"limits", "ca yes\nmaximumCA 3\ntrustedClients yes\nmaximumTrustedClients 5\n", false,
         true, 3, true, 5},
        {"the largest limits",
         "ca yes\nmaximumCA 65535\ntrustedClients yes\nmaximumTrustedClients 65535\n", false, true,
         65535, true, 65535},
        {"flags that are not exactly yes", "server Yes\nca true\ntrustedClients 1\n", false, false,
         0, false, 0},
    };
    for (const CapabilityRow& row : rows) {
        SCOPED_TRACE(row.sentence);
        device.addService("row", row.configuration);
        const OstrelService service("row");
        EXPECT_EQ(service.hasServer(), row.hasServer);
        EXPECT_EQ(service.hasCA(), row.hasCA);
        EXPECT_EQ(service.maxCA(), row.maxCA);
        EXPECT_EQ(service.hasTrustedClient(), row.hasTrustedClient);
        EXPECT_EQ(service.maxTrustedClient(), row.maxTrustedClient);
    }
}

TEST_F(Service, KeepsTheConfigurationOfItsConstruction)
{
    const OstrelService web("web");
    device.addService("web", "name Other\n");
    EXPECT_EQ(web.getServiceName(), "Web server");
    EXPECT_TRUE(web.hasServer());
    EXPECT_TRUE(web.hasCA());
    EXPECT_TRUE(web.hasTrustedClient());
    EXPECT_EQ(OstrelService("web").getServiceName(), "Other");
}

TEST_F(Service, HasTheDisplayNameOfItsConfigurationAndItsOwnPaths)
{
    OstrelService web("web");
    EXPECT_EQ(web.getServiceName(), "Web server");
    EXPECT_EQ(web.getCADirectory(), device.storeDirectory() + "/web/ca/");
    device.addService("nameless", "ca yes\n");
    OstrelService nameless("nameless");
    EXPECT_EQ(nameless.getServiceName(), "");
    EXPECT_EQ(nameless.getCADirectory(), device.storeDirectory() + "/nameless/ca/");
}

TEST_F(Service, ListsTheConfiguredServices)
{
    device.addService("vpn", "");
    support::writeText(device.serviceDirectory() + "/web.cnf", "");
    EXPECT_THAT(OstrelService::getServiceList(), UnorderedElementsAre("vpn", "web"));
    EXPECT_EQ(OstrelService::getServiceList(), ostrel::ServiceConfiguration::getServiceList());
}

TEST_F(Service, ReportsGoodHealthEvenWithoutADaemon)
{
    EXPECT_EQ(OstrelService::getHealthStatus(), 1);
    EXPECT_EQ(OstrelService::getOperatingStatus(), 1);
    EXPECT_EQ(thrownBy([] { OstrelService("web").isServiceRunning(); }), apiError(11));
    EXPECT_EQ(OstrelService::getHealthStatus(), 1);
    EXPECT_EQ(OstrelService::getOperatingStatus(), 1);
}

/// Constructs and destroys a service.
void buildAndDestroy()
{
    const OstrelService web("web");
}

TEST_F(Service, OpensItsLockFileInTheDestructor)
{
    support::writeText(pipes + "/web.lock", "the daemon's");
    auto web = std::make_unique<OstrelService>("web");
    const support::FileWatch watch({pipes});
    web.reset();
    EXPECT_EQ(watch.touched(), std::set<std::string>{"web.lock"});
    EXPECT_EQ(support::readText(pipes + "/web.lock"), "the daemon's");
}

TEST_F(Service, CreatesNoLockFileInTheDestructor)
{
    buildAndDestroy();
    EXPECT_EQ(pipeFiles(), std::set<std::string>());
    fs::remove_all(pipes);
    buildAndDestroy();
    EXPECT_FALSE(fs::exists(pipes));
}

TEST_F(Service, DoesNotReleaseALockHeldElsewhere)
{
    const std::string path = pipes + "/web.lock";
    support::writeText(path, "");
    const Descriptor holder = Descriptor::open(path, O_RDONLY);
    ASSERT_EQ(::flock(holder.get(), LOCK_EX), 0);
    buildAndDestroy();
    const Descriptor other = Descriptor::open(path, O_RDONLY);
    EXPECT_EQ(::flock(other.get(), LOCK_EX | LOCK_NB), -1);
    EXPECT_EQ(errno, EWOULDBLOCK);
}

TEST_F(Service, IsDestroyedSilentlyAndLeavesNoDescriptorOpen)
{
    const std::size_t before = support::openDescriptorCount();
    buildAndDestroy();
    support::writeText(pipes + "/web.lock", "");
    buildAndDestroy();
    fs::remove(pipes + "/web.lock");
    fs::create_directory(pipes + "/web.lock");
    buildAndDestroy();
    EXPECT_EQ(support::openDescriptorCount(), before);

    auto service = std::make_unique<OstrelService>("web");
    const support::CapturedTrace trace;
    service.reset();
    EXPECT_EQ(trace.text(), "");
}

} // namespace
