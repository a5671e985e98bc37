#include <ostrel/ServiceConfiguration.h>

#include "support/CapturedErrors.h"
#include "support/Thrown.h"
#include "unit/config/ServiceFile.h"

#include <gtest/gtest.h>

#include <filesystem>

namespace
{

namespace fs = std::filesystem;
using ostrel::ServiceConfiguration;
using service_file::ServiceFile;
using support::thrownBy;

const std::string offsetError =
    "std::runtime_error: Invalid config parameter: certificate expiry check offset time should be "
    "greater than zero and less than seconds in one day.";

TEST(ServiceConfiguration, IsReadFromTheServicesOwnFile)
{
    const ServiceFile file;
    const ServiceConfiguration service = file.read("name Web server\n"
                                                   "managmentGroup managers\n"
                                                   "keyGroup keepers\n"
                                                   "callbackScript /scripts/call\n"
                                                   "callbackLibrary /lib/call.so\n"
                                                   "unknown key\n");
    EXPECT_EQ(service.m_serviceName, "web");
    EXPECT_EQ(service.m_name, "Web server");
    EXPECT_EQ(service.m_managmentGroup, "managers");
    EXPECT_EQ(service.m_keyGroup, "keepers");
    EXPECT_EQ(service.m_callbackScript, "/scripts/call");
    EXPECT_EQ(service.m_callbackLibrary, "/lib/call.so");
}

std::string numbersOf(const ServiceConfiguration& service)
{
    return std::to_string(service.m_selfSignedValidity) + ' ' +
           std::to_string(service.m_selfSignedValidityOffset) + ' ' +
           std::to_string(service.m_CASignedValidity) + ' ' +
           std::to_string(service.m_CASignedValidityOffset) + ' ' +
           std::to_string(service.m_certDailyExpiryChkTimeOffsetSecs) + ' ' +
           std::to_string(service.m_maximumCA) + ' ' +
           std::to_string(service.m_maximumTrustedClients);
}

std::string textsOf(const ServiceConfiguration& service)
{
    return service.m_name + service.m_managmentGroup + service.m_keyGroup +
           service.m_callbackScript + service.m_callbackLibrary + service.m_cnfFile +
           service.m_cnfHookFile + service.m_CAServiceId;
}

bool hasAnyFlag(const ServiceConfiguration& service)
{
    return service.m_server || service.m_ca || service.m_trustedClients ||
           service.m_selfSignedGeneration || service.m_selfSignedOnExpiration ||
           service.m_CASignedGeneration || service.m_CASignedOnExpiration ||
           service.m_networkInvalidRevokePKIcert || service.m_opensslEngine ||
           service.m_includeFQDN || service.m_uniqueCaByCn || service.m_uniqueTrustedClientByCn;
}

TEST(ServiceConfiguration, OfAnEmptyFileIsEmptyDisabledAndZero)
{
    const ServiceFile file;
    const ServiceConfiguration service = file.read("");
    EXPECT_EQ(textsOf(service), "");
    EXPECT_FALSE(hasAnyFlag(service));
    EXPECT_EQ(numbersOf(service), "0 0 0 0 0 0 0");
    EXPECT_TRUE(service.m_networkConfigurations.empty());
    EXPECT_TRUE(service.m_networkInterfaces.empty());
}

// A disabled section is not read at all, so its faults do not matter.
TEST(ServiceConfiguration, DoesNotReadDisabledSections)
{
    const ServiceFile file;
    const ServiceConfiguration service = file.read("server no\n"
                                                   "selfSignedGeneration yes\n"
                                                   "selfSignedOnExpiration yes\n"
                                                   "selfSignedValidity 10\n"
                                                   "selfSignedValidityOffset 20\n"
                                                   "CASignedGeneration yes\n"
                                                   "CASignedOnExpiration yes\n"
                                                   "CASignedValidity 10\n"
                                                   "CASignedValidityOffset 20\n"
                                                   "CAServiceId id\n"
                                                   "cnfFile /cnf\n"
                                                   "cnfHookFile /hook\n"
                                                   "networkInvalidRevokePKIcert yes\n"
                                                   "opensslEngine yes\n"
                                                   "includeFQDN yes\n"
                                                   "networkInterface.0 eth0\n"
                                                   "maximumCA 5\n"
                                                   "uniqueCaByCn yes\n"
                                                   "maximumTrustedClients 5\n"
                                                   "uniqueTrustedClientByCn yes\n");
    EXPECT_EQ(textsOf(service), "");
    EXPECT_FALSE(hasAnyFlag(service));
    EXPECT_EQ(numbersOf(service), "0 0 0 0 0 0 0");
    EXPECT_TRUE(service.m_networkInterfaces.empty());
}

struct FlagRow {
    const char* sentence;
    const char* line;
    bool expected;
};

TEST(ServiceConfiguration, AcceptsOnlyYesAsTrue)
{
    const FlagRow rows[] = {
        {"yes", "ca yes\n", true},
        {"yes with blanks around it", "ca   yes \t\n", true},
        {"yes with a comment", "ca yes # really\n", true},
        {"the first of two", "ca yes\nca no\n", true},
        {"the first of two, in the other order", "ca no\nca yes\n", false},
        {"capitalised", "ca Yes\n", false},
        {"capitals", "ca YES\n", false},
        {"true", "ca true\n", false},
        {"1", "ca 1\n", false},
        {"more than yes", "ca yes please\n", false},
        {"less than yes", "ca ye\n", false},
        {"a carriage return", "ca yes\r\n", false},
        {"no value", "ca\n", false},
        {"an equals sign", "ca = yes\n", false},
        {"a key that differs in case", "CA yes\n", false},
        {"another flag", "server no\n", false},
    };
    const ServiceFile file;
    for (const FlagRow& row : rows) {
        EXPECT_EQ(file.read(row.line).m_ca, row.expected) << row.sentence;
    }
}

TEST(ServiceConfiguration, HasAFlagForEachStore)
{
    const ServiceFile file;
    EXPECT_TRUE(file.read("server yes\ncnfFile /cnf\n").m_server);
    EXPECT_TRUE(file.read("ca yes\n").m_ca);
    EXPECT_TRUE(file.read("trustedClients yes\n").m_trustedClients);
}

struct OffsetRow {
    const char* sentence;
    const char* value;
    const char* traced;
    std::uint32_t expected;
};

TEST(ExpiryCheckOffset, IsTheNumberThatAStreamExtracts)
{
    const OffsetRow rows[] = {
        // Intended: zero is accepted, although the text of the refusal excludes it.
        {"zero", "0", "0", 0},
        {"one", "1", "1", 1},
        {"the last second", "86399", "86399", 86399},
        {"no digits", "abc", "0", 0},
        {"trailing text", "12:30", "12", 12},
        {"a second number", "7 8", "7", 7},
        {"a sign", "+5", "5", 5},
        {"a minus before zero", "-0", "0", 0},
        {"leading zeros are decimal", "0010", "10", 10},
        {"hexadecimal is not read", "0x10", "0", 0},
    };
    const ServiceFile file;
    for (const OffsetRow& row : rows) {
        const support::CapturedTrace errors;
        const ServiceConfiguration service =
            file.read(std::string("CertDailyExpiryChkTimeOffsetSecs ") + row.value + '\n');
        EXPECT_EQ(service.m_certDailyExpiryChkTimeOffsetSecs, row.expected) << row.sentence;
        EXPECT_EQ(errors.text(),
                  std::string("value for CertDailyExpiryChkTimeOffsetSecs :") + row.traced + '\n')
            << row.sentence;
    }
}

TEST(ExpiryCheckOffset, IsRefusedBeyondTheDay)
{
    const OffsetRow rows[] = {
        {"the first second of the next day", "86400", "86400", 0},
        {"minus one wraps", "-1", "4294967295", 0},
        {"a number too large becomes the largest", "99999999999999999999", "4294967295", 0},
    };
    const ServiceFile file;
    for (const OffsetRow& row : rows) {
        file.write(std::string("CertDailyExpiryChkTimeOffsetSecs ") + row.value + '\n');
        const support::CapturedTrace errors;
        EXPECT_EQ(thrownBy([] { ServiceConfiguration("web"); }), offsetError) << row.sentence;
        EXPECT_EQ(errors.text(),
                  std::string("value for CertDailyExpiryChkTimeOffsetSecs :") + row.traced + '\n')
            << row.sentence;
    }
}

TEST(ExpiryCheckOffset, IsReadForAnyStoresOfTheService)
{
    const ServiceFile file;
    for (const char* stores : {"", "ca yes\n", "server yes\ncnfFile /cnf\n"}) {
        const std::string text = std::string(stores) + "CertDailyExpiryChkTimeOffsetSecs 9\n";
        EXPECT_EQ(file.read(text).m_certDailyExpiryChkTimeOffsetSecs, 9U) << stores;
    }
}

TEST(ExpiryCheckOffset, IsTracedEvenIfTheFileLacksIt)
{
    const ServiceFile file;
    const support::CapturedTrace errors;
    file.read("CertDailyExpiryChkTimeOffsetSecs\n");
    EXPECT_EQ(errors.text(), "value for CertDailyExpiryChkTimeOffsetSecs :0\n");
}

TEST(ServiceConfiguration, IsNotPrintedWithoutTheDebugFlag)
{
    const ServiceFile file;
    file.write("CertDailyExpiryChkTimeOffsetSecs 5\nserver yes\n");
    const support::CapturedErrors errors;
    EXPECT_NE(thrownBy([] { ServiceConfiguration("web"); }), "nothing");
    EXPECT_EQ(errors.text(), "");
}

TEST(ServiceConfiguration, OfAServiceWithoutAFileFails)
{
    const ServiceFile file;
    const std::string directory = file.device.serviceDirectory();
    fs::create_symlink(directory + "/loop.conf", directory + "/loop.conf");
    file.write("ca yes\n");
    for (const char* name : {"missing", "Web", "web.conf", "loop", "web.conf/x", ""}) {
        EXPECT_EQ(thrownBy([&] { ServiceConfiguration{name}; }),
                  std::string("std::runtime_error: No configuration file for the service ") + name);
    }
}

TEST(ServiceConfiguration, OfADirectoryEqualsThatOfAnEmptyFile)
{
    const ServiceFile file;
    fs::create_directory(file.device.serviceDirectory() + "/folder.conf");
    EXPECT_FALSE(hasAnyFlag(ServiceConfiguration("folder")));
}

TEST(ServiceConfiguration, PassesOnTheFailureOfTheDaemonConfiguration)
{
    support::Device::writeDaemonConfiguration("TimeDriftSleepTime x\n");
    EXPECT_EQ(thrownBy([] { ServiceConfiguration("web"); }),
              "std::runtime_error: Std exception invalid argument caught while getting the value "
              "for TimeDriftSleepTime in api: stoi");
}

TEST(ServiceConfiguration, LeavesNoDescriptorOpen)
{
    const ServiceFile file;
    file.read("");
    const std::size_t before = support::openDescriptorCount();
    file.read("ca yes\n");
    EXPECT_EQ(support::openDescriptorCount(), before);
}

} // namespace
