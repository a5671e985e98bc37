#include "x509/Network.h"

#include "support/DeniedSystemCalls.h"
#include "support/Device.h"

#include <gtest/gtest.h>

#include <cerrno>

#include <sys/syscall.h>
#include <unistd.h>

namespace
{

using ostreld::alternativeNames;
using Names = std::vector<std::string>;

std::string plainName()
{
    char name[256] = "";
    ::gethostname(name, sizeof name - 1);
    return name;
}

/// A device whose resolver does not answer and whose addresses cannot be read.
class Network : public testing::Test
{
protected:
    void SetUp() override
    {
        device.addService("web", "server yes\ncnfFile /x\nincludeFQDN yes\n");
        device.addService("lo", "server yes\ncnfFile /x\nnetworkInterface.0 lo\n");
        support::Device::replaceSystemFile("/etc/hosts", "127.0.0.1 localhost\n");
        support::Device::replaceSystemFile("/etc/nsswitch.conf", "hosts: files dns\n");
#ifdef SYS_socket
        if (!support::denySystemCalls({SYS_socket}, EMFILE)) {
            GTEST_SKIP() << "the kernel has no seccomp filters";
        }
#endif
    }

    const support::Device device;
};

TEST_F(Network, FailureLeavesTheNameOfTheDeviceUnchanged)
{
    const ostrel::ServiceConfiguration service("web");
    EXPECT_EQ(alternativeNames(service), Names{"DNS:" + plainName()});
    EXPECT_EQ(alternativeNames(service, "DNS:device.example\n"), Names{"DNS:device.example"});
    EXPECT_EQ(alternativeNames(service, "IP:192.0.2.1\n"), Names{"DNS:" + plainName()});
}

TEST_F(Network, FailureIsNotTreatedAsADeviceWithoutAddresses)
{
    const ostrel::ServiceConfiguration service("lo");
    EXPECT_THROW(alternativeNames(service), std::runtime_error);
}

} // namespace
