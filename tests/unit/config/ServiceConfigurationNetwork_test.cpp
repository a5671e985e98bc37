#include <ostrel/ServiceConfiguration.h>

#include "support/Thrown.h"
#include "unit/config/ServiceFile.h"

#include <gmock/gmock.h>

namespace
{

using ostrel::ServiceConfiguration;
using ostrel::ServiceNetworkConfiguration;
using service_file::ServiceFile;
using testing::ElementsAre;
using testing::IsEmpty;

const std::string server = "server yes\ncnfFile /cnf\n";

/// The flags that are set, in the order of the members.
std::string flagsOf(const ServiceNetworkConfiguration& interface)
{
    return std::string(interface.m_regenerateIfOff ? "regenerate " : "") +
           (interface.m_includeIPv4 ? "4 " : "") + (interface.m_includeIPv4Auto ? "4auto " : "") +
           (interface.m_includeIPv6 ? "6 " : "") + (interface.m_includeIPv6Auto ? "6auto" : "");
}

const std::string allFlags = "regenerate 4 4auto 6 6auto";

std::string allKeysOf(const std::string& number, const std::string& name)
{
    return "networkInterface." + number + ' ' + name + "\nregenerateIfOff." + number +
           " yes\nincludeIPv4." + number + " yes\nincludeIPv4Auto." + number +
           " yes\nincludeIPv6." + number + " yes\nincludeIPv6Auto." + number + " yes\n";
}

TEST(NetworkInterfaces, HaveAFlagForEachNumberedKey)
{
    const struct {
        const char* key;
        const char* expected;
    } rows[] = {
        {"regenerateIfOff.1", "regenerate "}, {"includeIPv4.1", "4 "},
        {"includeIPv4Auto.1", "4auto "},      {"includeIPv6.1", "6 "},
        {"includeIPv6Auto.1", "6auto"},
    };
    const ServiceFile file;
    for (const auto& row : rows) {
        const ServiceConfiguration service = file.read(
            server + "networkInterface.0 eth0\nnetworkInterface.1 wlan0\n" + row.key + " yes\n");
        EXPECT_EQ(flagsOf(service.getNetworkInterfaces("wlan0")), row.expected) << row.key;
        EXPECT_EQ(flagsOf(service.getNetworkInterfaces("eth0")), "") << row.key;
        EXPECT_EQ(service.getNetworkInterfaces("wlan0").m_name, "wlan0");
    }
}

TEST(NetworkInterfaces, AcceptOnlyTheExactValueYes)
{
    const ServiceFile file;
    const ServiceConfiguration service =
        file.read(server + "networkInterface.0 eth0\nincludeIPv4.0 Yes\nincludeIPv6.0 true\n");
    EXPECT_EQ(flagsOf(service.getNetworkInterfaces("eth0")), "");
}

TEST(NetworkInterfaces, HaveNumbersNotNamesInTheirKeys)
{
    const ServiceFile file;
    const ServiceConfiguration service =
        file.read(server + "networkInterface.0 eth0\nincludeIPv4.eth0 yes\nincludeIPv4.00 yes\n");
    EXPECT_EQ(flagsOf(service.getNetworkInterfaces("eth0")), "");
}

TEST(NetworkInterfaces, EndAtTheFirstGapInTheirNumbers)
{
    const ServiceFile file;
    const struct {
        const char* sentence;
        const char* text;
        std::vector<std::string> expected;
    } rows[] = {
        {"none", "", {}},
        {"no number 0", "networkInterface.1 a\n", {}},
        {"a gap at 2",
         "networkInterface.0 a\nnetworkInterface.1 b\nnetworkInterface.3 d\n",
         {"a", "b"}},
        {"a number without a value",
         "networkInterface.0 a\nnetworkInterface.1\nnetworkInterface.2 c\n",
         {"a"}},
        {"in any order of the lines", "networkInterface.1 b\nnetworkInterface.0 a\n", {"a", "b"}},
        {"names with blanks", "networkInterface.0 a b\n", {"a b"}},
    };
    for (const auto& row : rows) {
        const ServiceConfiguration service = file.read(server + row.text);
        EXPECT_EQ(service.m_networkInterfaces, row.expected) << row.sentence;
        EXPECT_EQ(service.m_networkConfigurations.size(), row.expected.size()) << row.sentence;
    }
}

TEST(NetworkInterfaces, AreListedInNumericOrderBeyondTen)
{
    const ServiceFile file;
    std::string text = server;
    std::vector<std::string> names;
    for (int number = 0; number < 25; ++number) {
        names.push_back("if" + std::to_string(number));
        text += allKeysOf(std::to_string(number), names.back());
    }
    const ServiceConfiguration service = file.read(text);
    EXPECT_EQ(service.m_networkInterfaces, names);
    EXPECT_EQ(flagsOf(service.getNetworkInterfaces("if24")), allFlags);
}

TEST(NetworkInterfaces, NamedTwiceKeepTheLastFlagsAndBothNames)
{
    const ServiceFile file;
    const ServiceConfiguration service =
        file.read(server + allKeysOf("0", "eth0") +
                  "networkInterface.1 eth0\nincludeIPv6.1 yes\nnetworkInterface.2 wlan0\n");
    EXPECT_THAT(service.m_networkInterfaces, ElementsAre("eth0", "eth0", "wlan0"));
    EXPECT_EQ(service.m_networkConfigurations.size(), 2U);
    EXPECT_EQ(flagsOf(service.getNetworkInterfaces("eth0")), "6 ");
}

TEST(NetworkInterfaces, AreReturnedAsCopiesAndOnlyIfKnown)
{
    const ServiceFile file;
    ServiceConfiguration service = file.read(server + allKeysOf("0", "eth0"));
    for (const char* name : {"eth1", "eth", "", "0"}) {
        EXPECT_EQ(support::thrownBy([&] { service.getNetworkInterfaces(name); }),
                  "std::out_of_range: map::at");
    }
    ServiceNetworkConfiguration copy = service.getNetworkInterfaces("eth0");
    copy.m_includeIPv4 = false;
    EXPECT_EQ(flagsOf(service.getNetworkInterfaces("eth0")), allFlags);
}

TEST(NetworkInterfaces, LoseOnlyTheirAddressesWhenExcluded)
{
    const ServiceFile file;
    ServiceConfiguration service =
        file.read(server + allKeysOf("0", "eth0") + allKeysOf("1", "wlan0") +
                  "networkInterface.2 usb0\nincludeIPv4.2 yes\n");
    service.setExcludeIpForAllNetworkInterfaces();
    EXPECT_EQ(flagsOf(service.getNetworkInterfaces("eth0")), "regenerate ");
    EXPECT_EQ(flagsOf(service.getNetworkInterfaces("wlan0")), "regenerate ");
    EXPECT_EQ(flagsOf(service.getNetworkInterfaces("usb0")), "");
    EXPECT_EQ(service.getNetworkInterfaces("usb0").m_name, "usb0");
    EXPECT_THAT(service.m_networkInterfaces, ElementsAre("eth0", "wlan0", "usb0"));
}

TEST(NetworkInterfaces, CanBeExcludedWhenNoneIsConfigured)
{
    const ServiceFile file;
    ServiceConfiguration service = file.read(server);
    service.setExcludeIpForAllNetworkInterfaces();
    EXPECT_THAT(service.m_networkConfigurations, IsEmpty());
}

} // namespace
