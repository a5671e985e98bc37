#include <ostrel/ServiceConfiguration.h>

#include "support/AllocationFault.h"
#include "unit/config/ServiceFile.h"

#include <gmock/gmock.h>

namespace
{

using ostrel::ServiceConfiguration;
using service_file::ServiceFile;
using support::thrownWithoutMemory;
using testing::Contains;

// Intended: two slashes after the directory, one from the directory and one from the file.
TEST(ServicePaths, AreBelowTheServiceConfigurationDirectory)
{
    const ServiceFile file;
    const ServiceConfiguration service = file.read("");
    EXPECT_EQ(service.getServiceConfigFile(), "/etc/ostrel/services//web.conf");
    EXPECT_EQ(service.getServerPath(), "/etc/ostrel/services//web/server");
    EXPECT_EQ(service.getCAPath(), "/etc/ostrel/services//web/ca");
    EXPECT_EQ(service.getTrustedClientsPath(), "/etc/ostrel/services//web/client");
}

TEST(ServicePaths, UseTheServiceNameNotTheDisplayName)
{
    const ServiceFile file;
    ServiceConfiguration service = file.read("name Web server\n");
    service.m_serviceName = "vpn";
    EXPECT_EQ(service.getServiceConfigFile(), "/etc/ostrel/services//vpn.conf");
    EXPECT_EQ(service.getCAPath(), "/etc/ostrel/services//vpn/ca");
}

// The daemon configuration is already read, so only an allocation can fail here.
TEST(ServicePaths, ReportEveryFailureWithTheirName)
{
    const ServiceFile file;
    const ServiceConfiguration service = file.read("");
    const struct {
        std::string (ServiceConfiguration::*path)() const;
        const char* name;
    } rows[] = {
        {&ServiceConfiguration::getServerPath, "server"},
        {&ServiceConfiguration::getCAPath, "CA"},
        {&ServiceConfiguration::getTrustedClientsPath, "trusted client"},
    };
    for (const auto& row : rows) {
        const auto work = [&] { (service.*row.path)(); };
        const std::string rest = std::string(" caught while getting ") + row.name + " path";
        EXPECT_THAT(thrownWithoutMemory(work, support::failWithRuntimeError),
                    Contains("std::runtime_error: Runtime error" + rest + ": injected"));
        EXPECT_THAT(thrownWithoutMemory(work, support::failAsOutOfMemory),
                    Contains("std::runtime_error: Std exception" + rest + ": std::bad_alloc"));
        EXPECT_THAT(thrownWithoutMemory(work, support::failWithNonStandardException),
                    Contains("std::runtime_error: Generic exception" + rest + "."));
    }
}

} // namespace
