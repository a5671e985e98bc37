// The settings files of docs/FILES.md, read by the library.

#include "support/Device.h"
#include "support/Document.h"
#include "support/TextFiles.h"

#include <ostrel/DaemonConfiguration.h>
#include <ostrel/ServiceConfiguration.h>
#include <ostrel/Tools.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <sstream>

namespace
{

using ostrel::DaemonConfiguration;
using support::Document;

using Readings = std::map<std::string, std::string>;

const Document& files()
{
    static const Document document = support::readDocument("FILES.md");
    return document;
}

/// The values that the library reads from an example, as the document lists
/// them.
Readings readingsOf(const std::string& table)
{
    Readings readings;
    for (const Document::Row& row : files().table(table)) {
        readings[row[0]] = row[1];
    }
    return readings;
}

TEST(FilesSettings, FollowTheTableOfLines)
{
    for (const Document::Row& row : files().table("settings lines")) {
        std::string line = row[0];
        std::replace(line.begin(), line.end(), '~', '\t');
        std::istringstream text(line + '\n');
        Readings expected;
        if (row[1] != "(skipped)") {
            expected[row[1] == "(empty)" ? "" : row[1]] = row[2];
        }
        EXPECT_EQ(ostrel::Tools::getConfigMap(text), expected) << row[0];
    }
}

TEST(FilesSettings, ContainTheDaemonConfigurationOfTheExample)
{
    support::Device::writeDaemonConfiguration(files().bytes("config.daemon"));
    const Readings read = {
        {"getOstrelDirectory", DaemonConfiguration::getOstrelDirectory()},
        {"getNotificationGroup", DaemonConfiguration::getNotificationGroup()},
        {"getServiceConfigDirectory", DaemonConfiguration::getServiceConfigDirectory()},
        {"getNamePipesDirectory", DaemonConfiguration::getNamePipesDirectory()},
        {"getDaemonUser", DaemonConfiguration::getDaemonUser()},
        {"getScriptsDirectory", DaemonConfiguration::getScriptsDirectory()},
        {"getLockFile", DaemonConfiguration::getLockFile()},
        {"getPidFile", DaemonConfiguration::getPidFile()},
        {"getMinDateForGeneratingCert",
         std::to_string(DaemonConfiguration::getMinDateForGeneratingCert())},
        {"getTimeDriftSleepTime", std::to_string(DaemonConfiguration::getTimeDriftSleepTime())},
        {"getTimeDriftThresholdValue",
         std::to_string(DaemonConfiguration::getTimeDriftThresholdValue())},
    };
    EXPECT_EQ(read, readingsOf("config.daemon reads"));
}

std::string flag(bool value)
{
    return value ? "yes" : "no";
}

std::string joined(const std::vector<std::string>& words)
{
    std::string text;
    for (const std::string& word : words) {
        text += (text.empty() ? "" : " ") + word;
    }
    return text;
}

TEST(FilesSettings, ContainTheServiceConfigurationOfTheExample)
{
    const support::Device device;
    device.addService("web", files().bytes("web.conf"));
    const ostrel::ServiceConfiguration web("web");
    const Readings read = {
        {"m_name", web.m_name},
        {"m_managmentGroup", web.m_managmentGroup},
        {"m_server", flag(web.m_server)},
        {"m_cnfFile", web.m_cnfFile},
        {"m_selfSignedValidity", std::to_string(web.m_selfSignedValidity)},
        {"m_networkInterfaces", joined(web.m_networkInterfaces)},
        {"m_includeIPv4 of eth0", flag(web.getNetworkInterfaces("eth0").m_includeIPv4)},
        {"m_includeIPv6 of eth0", flag(web.getNetworkInterfaces("eth0").m_includeIPv6)},
        {"m_ca", flag(web.m_ca)},
        {"m_maximumCA", std::to_string(web.m_maximumCA)},
        {"m_trustedClients", flag(web.m_trustedClients)},
        {"m_maximumTrustedClients", std::to_string(web.m_maximumTrustedClients)},
    };
    EXPECT_EQ(read, readingsOf("web.conf reads"));
}

} // namespace
