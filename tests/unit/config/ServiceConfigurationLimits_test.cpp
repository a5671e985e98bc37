#include <ostrel/ServiceConfiguration.h>

#include "unit/config/ServiceFile.h"

#include <gtest/gtest.h>

#include <type_traits>

namespace
{

using ostrel::ServiceConfiguration;
using service_file::ServiceFile;

struct LimitRow {
    const char* sentence;
    const char* value;
    std::uint16_t expected;
};

// What a stream extracts into 16 bits.
const LimitRow rows[] = {
    {"a number", "10", 10},
    {"zero", "0", 0},
    {"no digits", "many", 0},
    {"trailing text", "12 of them", 12},
    {"the largest", "65535", 65535},
    {"a number too large becomes the largest", "65536", 65535},
    {"a number far too large", "99999999999999999999", 65535},
    {"minus one wraps", "-1", 65535},
    {"a negative number out of range", "-65536", 65535},
    {"leading zeros", "007", 7},
};

std::string line(const std::string& key, const char* value)
{
    return key + ' ' + value + '\n';
}

TEST(CaSection, LimitsTheNumberOfAuthorities)
{
    const ServiceFile file;
    for (const LimitRow& row : rows) {
        EXPECT_EQ(file.read("ca yes\n" + line("maximumCA", row.value)).m_maximumCA, row.expected)
            << row.sentence;
    }
    EXPECT_EQ(file.read("ca yes\n").m_maximumCA, 0) << "no limit in the file";
    EXPECT_EQ(file.read("ca yes\nmaximumca 5\n").m_maximumCA, 0) << "another key";
}

TEST(CaSection, HasItsOwnFlagForUniqueNames)
{
    const ServiceFile file;
    const ServiceConfiguration service =
        file.read("ca yes\ntrustedClients yes\nuniqueCaByCn yes\n");
    EXPECT_TRUE(service.m_uniqueCaByCn);
    EXPECT_FALSE(service.m_uniqueTrustedClientByCn);
    EXPECT_FALSE(file.read("ca yes\nuniqueCaByCn Yes\n").m_uniqueCaByCn);
}

TEST(TrustedClientsSection, LimitsTheNumberOfClients)
{
    const ServiceFile file;
    for (const LimitRow& row : rows) {
        const ServiceConfiguration service = file.read("trustedClients yes\nmaximumCA 3\n" +
                                                       line("maximumTrustedClients", row.value));
        EXPECT_EQ(service.m_maximumTrustedClients, row.expected) << row.sentence;
        EXPECT_EQ(service.m_maximumCA, 0) << "the section of the CAs is disabled";
    }
}

// Intended: without "maximumCA", "maximumTrustedClients" has no effect.
TEST(TrustedClientsSection, HasItsLimitOnlyTogetherWithALimitForAuthorities)
{
    const struct {
        const char* sentence;
        const char* text;
        std::uint16_t expected;
    } coupled[] = {
        {"no maximumCA", "maximumTrustedClients 10\n", 0},
        {"a maximumCA without a value", "maximumTrustedClients 10\nmaximumCA\n", 0},
        {"a maximumCA", "maximumTrustedClients 10\nmaximumCA 1\n", 10},
        {"a maximumCA of zero", "maximumTrustedClients 10\nmaximumCA 0\n", 10},
        {"a maximumCA without digits", "maximumTrustedClients 10\nmaximumCA x\n", 10},
        {"only a maximumCA", "maximumCA 7\n", 0},
        {"a maximumCA in an enabled section", "ca yes\nmaximumTrustedClients 10\nmaximumCA 1\n",
         10},
    };
    const ServiceFile file;
    for (const auto& row : coupled) {
        const std::string text = std::string("trustedClients yes\n") + row.text;
        EXPECT_EQ(file.read(text).m_maximumTrustedClients, row.expected) << row.sentence;
    }
}

TEST(TrustedClientsSection, HasItsOwnFlagForUniqueNames)
{
    const ServiceFile file;
    const ServiceConfiguration service =
        file.read("ca yes\ntrustedClients yes\nuniqueTrustedClientByCn yes\n");
    EXPECT_TRUE(service.m_uniqueTrustedClientByCn);
    EXPECT_FALSE(service.m_uniqueCaByCn);
}

TEST(Limits, HaveSixteenBits)
{
    EXPECT_TRUE((std::is_same_v<decltype(ServiceConfiguration::m_maximumCA), std::uint16_t>));
    EXPECT_TRUE(
        (std::is_same_v<decltype(ServiceConfiguration::m_maximumTrustedClients), std::uint16_t>));
}

} // namespace
