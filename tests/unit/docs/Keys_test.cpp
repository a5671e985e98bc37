// The keys that the documents list against the keys that the library reads.

#include "support/Device.h"
#include "support/Document.h"
#include "unit/docs/AskedKeys.h"

#include <ostrel/DaemonConfiguration.h>
#include <ostrel/ServiceConfiguration.h>

#include <gmock/gmock.h>

namespace
{

using support::Document;
using testing::Contains;
using testing::Not;

const Document& files()
{
    static const Document document = support::readDocument("FILES.md");
    return document;
}

std::set<std::string> firstCells(const std::string& table)
{
    std::set<std::string> cells;
    for (const Document::Row& row : files().table(table)) {
        EXPECT_TRUE(cells.insert(row[0]).second) << row[0] << " stands twice";
    }
    return cells;
}

std::set<std::string> keysOfDaemon()
{
    const support::Device device;
    return keysAskedBy([] { ostrel::DaemonConfiguration::getInstance(); });
}

/// With every section on, and what leads to further keys.
std::set<std::string> keysOfService()
{
    const support::Device device;
    device.addService("web", "server yes\nca yes\ntrustedClients yes\ncnfFile x\n"
                             "maximumCA 1\nnetworkInterface.0 eth0\n");
    ostrel::DaemonConfiguration::getInstance();
    return keysAskedBy([] { ostrel::ServiceConfiguration("web"); });
}

TEST(Keys, OfTheDaemonAreThoseOfTheDocument)
{
    EXPECT_EQ(firstCells("config.daemon keys"), keysOfDaemon());
}

TEST(Keys, OfAServiceAreThoseOfTheDocument)
{
    EXPECT_EQ(firstCells("service keys"), keysOfService());
}

// Shows that the look-up does pass by here, and that it is the library's.
TEST(Keys, OfSectionsThatAreOffAreNotRead)
{
    const support::Device device;
    device.addService("web", "server no\n");
    const auto keys = keysAskedBy([] { ostrel::ServiceConfiguration("web"); });
    EXPECT_THAT(keys, Contains("server"));
    EXPECT_THAT(keys, Not(Contains("cnfFile")));
    EXPECT_THAT(keys, Not(Contains("maximumCA")));
}

} // namespace
