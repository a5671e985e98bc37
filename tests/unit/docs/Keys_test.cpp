// Compares the keys in docs/FILES.md and ostrel-config(5) with the keys that the
// library reads.

#include "support/Device.h"
#include "support/Document.h"
#include "support/Thrown.h"
#include "unit/docs/EffectiveKeys.h"

#include <ostrel/DaemonConfiguration.h>
#include <ostrel/ServiceConfiguration.h>

#include <gmock/gmock.h>

#include <set>
#include <sstream>
#include <tuple>

namespace
{

using support::Document;
using testing::HasSubstr;
using testing::PrintToString;

const Document& files()
{
    static const Document document = support::readDocument("FILES.md");
    return document;
}

std::set<std::string> firstCells(const std::string& table)
{
    std::set<std::string> cells;
    for (const Document::Row& row : files().table(table)) {
        EXPECT_TRUE(cells.insert(row[0]).second) << row[0] << " is listed twice";
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
            EXPECT_TRUE(keys.insert(key).second) << key << " is listed twice";
        }
    }
    return keys;
}

/// The failure of a daemon configuration that has only these lines. A process reads a
/// complete configuration only once, but a single key never makes one complete.
std::string readingOfDaemon(const std::string& lines)
{
    support::Device::writeDaemonConfiguration(lines);
    return support::thrownBy([] { ostrel::DaemonConfiguration::getInstance(); });
}

std::set<std::string> keysOfDaemon()
{
    return keysAmong(wordsOfConfigurationSources(), readingOfDaemon);
}

std::string textOf(const ostrel::ServiceNetworkConfiguration& network)
{
    const auto& [name, regenerateIfOff, v4, v4Auto, v6, v6Auto] = network;
    return PrintToString(std::make_tuple(name, regenerateIfOff, v4, v4Auto, v6, v6Auto));
}

/// All members: the binding does not compile when one is missing.
std::string textOf(const ostrel::ServiceConfiguration& service)
{
    const auto& [id, name, managmentGroup, keyGroup, callbackScript, callbackLibrary, server, ca,
                 trustedClients, cnfFile, cnfHookFile, selfSigned, selfSignedAgain,
                 selfSignedValidity, selfSignedOffset, caSigned, caSignedAgain, caService,
                 caSignedValidity, caSignedOffset, checkTime, networkInvalid, engine, networks,
                 interfaces, fqdn, maximumCA, uniqueCa, maximumClients, uniqueClients] = service;
    std::string text = PrintToString(
        std::make_tuple(id, name, managmentGroup, keyGroup, callbackScript, callbackLibrary, server,
                        ca, trustedClients, cnfFile, cnfHookFile, selfSigned, selfSignedAgain,
                        selfSignedValidity, selfSignedOffset, caSigned, caSignedAgain, caService,
                        caSignedValidity, caSignedOffset, checkTime, networkInvalid, engine,
                        interfaces, fqdn, maximumCA, uniqueCa, maximumClients, uniqueClients));
    for (const auto& entry : networks) {
        text += textOf(entry.second);
    }
    return text;
}

/// The result of reading a service's configuration with `lines` before it, as text.
std::string readingOfService(const support::Device& device, const std::string& lines,
                             const std::string& configuration)
{
    device.addService("web", lines + configuration);
    std::string text;
    const std::string thrown =
        support::thrownBy([&] { text = textOf(ostrel::ServiceConfiguration("web")); });
    return thrown + text;
}

/// The keys among `words` of a service that has this configuration.
std::set<std::string> keysOfService(const std::set<std::string>& words,
                                    const std::string& configuration)
{
    const support::Device device;
    return keysAmong(words, [&](const std::string& lines) {
        return readingOfService(device, lines, configuration);
    });
}

/// The keys of a service with every section enabled and every key that others depend on.
std::set<std::string> keysOfService()
{
    return keysOfService(wordsOfConfigurationSources(),
                         "server yes\nca yes\ntrustedClients yes\ncnfFile x\n"
                         "maximumCA 1\nnetworkInterface.0 eth0\n");
}

TEST(Keys, OfTheDaemonMatchTheDocuments)
{
    const std::set<std::string> read = keysOfDaemon();
    EXPECT_EQ(firstCells("config.daemon keys"), read);
    EXPECT_EQ(keysUnder("THE DAEMON'S CONFIGURATION"), read);
}

TEST(Keys, OfAServiceMatchTheDocuments)
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

TEST(Keys, AreOnlyWordsThatChangeTheConfiguration)
{
    EXPECT_EQ(keysOfService({"server", "cnfFile", "maximumCA", "yes"}, "server no\nca yes\n"),
              (std::set<std::string>{"server", "maximumCA"}));
}

} // namespace
