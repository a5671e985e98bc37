// The keys that docs/FILES.md and ostrel-config(5) list against the keys that the
// library reads.

#include "support/Device.h"
#include "support/Document.h"
#include "unit/docs/AskedKeys.h"

#include <ostrel/DaemonConfiguration.h>
#include <ostrel/ServiceConfiguration.h>

#include <gmock/gmock.h>

#include <sstream>

namespace
{

using support::Document;
using testing::Contains;
using testing::HasSubstr;
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

/// The keys of one section of ostrel-config(5).
std::set<std::string> keysUnder(const std::string& heading)
{
    std::set<std::string> keys;
    std::istringstream lines(support::readDocument("man/ostrel-config.5").text());
    bool isInside = false;
    const std::string item = ".It Ic ";
    for (std::string line; std::getline(lines, line);) {
        if (line.find(".Sh ") == 0) {
            isInside = line == ".Sh " + heading;
        } else if (isInside && line.find(item) == 0) {
            const std::string key = line.substr(item.size(), line.find(" Ar ") - item.size());
            EXPECT_TRUE(keys.insert(key).second) << key << " stands twice";
        }
    }
    return keys;
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

TEST(Keys, OfTheDaemonAreThoseOfTheDocuments)
{
    const std::set<std::string> read = keysOfDaemon();
    EXPECT_EQ(firstCells("config.daemon keys"), read);
    EXPECT_EQ(keysUnder("THE DAEMON'S CONFIGURATION"), read);
}

TEST(Keys, OfAServiceAreThoseOfTheDocuments)
{
    const std::set<std::string> read = keysOfService();
    EXPECT_EQ(firstCells("service keys"), read);
    EXPECT_EQ(keysUnder("A SERVICE'S CONFIGURATION"), read);
}

TEST(Keys, AppearInTheDocumentOfTheDaemon)
{
    std::set<std::string> keys = keysOfService();
    keys.merge(firstCells("config.daemon keys"));
    const std::string text = support::readDocument("DAEMON.md").text();
    for (const std::string& key : keys) {
        EXPECT_THAT(text, HasSubstr('`' + key + '`'));
    }
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
