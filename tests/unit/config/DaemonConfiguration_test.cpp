#include <ostrel/DaemonConfiguration.h>

#include "support/ChildProcess.h"
#include "support/Device.h"
#include "support/TextFiles.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <mutex>
#include <set>
#include <thread>
#include <type_traits>
#include <vector>

namespace
{

using ostrel::DaemonConfiguration;
using support::Device;
using support::inChild;

const std::string required = "ostrelDirectory /store\n"
                             "notificationGroup notifiers\n"
                             "serviceConfigDirectory /services\n"
                             "namePipesDirectory /pipes\n"
                             "daemonUser keeper\n"
                             "scriptsDirectory /scripts\n"
                             "lockFile /lock\n"
                             "pidFile /pid\n";

std::string allTexts()
{
    return DaemonConfiguration::getOstrelDirectory() + '|' +
           DaemonConfiguration::getNotificationGroup() + '|' +
           DaemonConfiguration::getServiceConfigDirectory() + '|' +
           DaemonConfiguration::getNamePipesDirectory() + '|' +
           DaemonConfiguration::getDaemonUser() + '|' + DaemonConfiguration::getScriptsDirectory() +
           '|' + DaemonConfiguration::getLockFile() + '|' + DaemonConfiguration::getPidFile();
}

std::string allNumbers()
{
    return std::to_string(DaemonConfiguration::getMinDateForGeneratingCert()) + ' ' +
           std::to_string(DaemonConfiguration::getTimeDriftSleepTime()) + ' ' +
           std::to_string(DaemonConfiguration::getTimeDriftThresholdValue());
}

const std::string allRequired = "/store|notifiers|/services|/pipes|keeper|/scripts|/lock|/pid";

struct Row {
    const char* sentence;
    std::string text;
    std::string expected;
};

// A process reads the configuration once, so each row has one of its own.
std::string readInChild(const std::string& text, std::string (*values)())
{
    Device::writeDaemonConfiguration(text);
    return inChild(values);
}

TEST(DaemonConfiguration, GivesTheTextsAsTheFileHasThem)
{
    const Row rows[] = {
        {"one getter for each key", required, allRequired},
        {"unknown keys, comments and empty lines", "# c\n\nunknown a\n" + required + "more b\n",
         allRequired},
        {"repeated keys keep their first value", required + "lockFile /b\npidFile /c\n",
         allRequired},
        {"keys that differ in case are other keys", "lockfile /b\nLockFile /c\n" + required,
         allRequired},
        {"equals signs and tabs do not separate key and value",
         "lockFile=/b\nlockFile\t/b\n" + required, allRequired},
        {"blanks around a value are dropped", "lockFile   /a b \t\n" + required,
         "/store|notifiers|/services|/pipes|keeper|/scripts|/a b|/pid"},
        {"a comment is cut off", "lockFile /a#b\n" + required,
         "/store|notifiers|/services|/pipes|keeper|/scripts|/a|/pid"},
        {"slashes at the end stay", "ostrelDirectory /a//\n" + required,
         "/a//|notifiers|/services|/pipes|keeper|/scripts|/lock|/pid"},
        {"carriage returns stay", "daemonUser root\r\n" + required,
         "/store|notifiers|/services|/pipes|root\r|/scripts|/lock|/pid"},
        {"the last line without a line feed", required.substr(0, required.size() - 1), allRequired},
    };
    for (const Row& row : rows) {
        EXPECT_EQ(readInChild(row.text, allTexts), row.expected) << row.sentence;
    }
}

TEST(DaemonConfiguration, ReturnsTheNumbersOrZero)
{
    const Row rows[] = {
        {"absent", "", "0 0 0"},
        {"one getter for each key",
         "minDateForGeneratingCert 1700000000\nTimeDriftSleepTime 30\nTimeDriftThresholdValue 5\n",
         "1700000000 30 5"},
        {"signs",
         "minDateForGeneratingCert -1\nTimeDriftSleepTime +2\nTimeDriftThresholdValue -3\n",
         "-1 2 -3"},
        {"trailing text is ignored",
         "minDateForGeneratingCert 12x\nTimeDriftSleepTime 30s\nTimeDriftThresholdValue 5 6\n",
         "12 30 5"},
        {"only decimal numbers",
         "minDateForGeneratingCert 0x10\nTimeDriftSleepTime 010\nTimeDriftThresholdValue 0b1\n",
         "0 10 0"},
        {"white space that the syntax does not treat as blanks",
         "minDateForGeneratingCert \v7\nTimeDriftSleepTime \r8\nTimeDriftThresholdValue \f9\n",
         "7 8 9"},
        {"the largest",
         "minDateForGeneratingCert 9223372036854775807\nTimeDriftSleepTime 2147483647\n"
         "TimeDriftThresholdValue 2147483647\n",
         "9223372036854775807 2147483647 2147483647"},
        {"the smallest",
         "minDateForGeneratingCert -9223372036854775808\nTimeDriftSleepTime -2147483648\n"
         "TimeDriftThresholdValue -2147483648\n",
         "-9223372036854775808 -2147483648 -2147483648"},
        {"the first occurrence counts", "TimeDriftSleepTime 1\nTimeDriftSleepTime x\n", "0 1 0"},
        {"a key without a value is absent",
         "minDateForGeneratingCert\nTimeDriftSleepTime  \nTimeDriftThresholdValue # x\n", "0 0 0"},
        {"keys that differ in case are unknown",
         "MinDateForGeneratingCert x\ntimeDriftSleepTime x\ntimeDriftThresholdValue x\n", "0 0 0"},
    };
    for (const Row& row : rows) {
        EXPECT_EQ(readInChild(row.text + required, allNumbers), row.expected) << row.sentence;
    }
}

TEST(DaemonConfiguration, ReturnsTheTypesThatItsCallersStore)
{
    using Class = DaemonConfiguration;
    EXPECT_TRUE((std::is_same_v<decltype(Class::getMinDateForGeneratingCert()), std::int64_t>));
    EXPECT_TRUE((std::is_same_v<decltype(Class::getTimeDriftSleepTime()), int>));
    EXPECT_TRUE((std::is_same_v<decltype(Class::getTimeDriftThresholdValue()), int>));
    EXPECT_TRUE((std::is_same_v<decltype(Class::getLockFile()), std::string>));
}

TEST(DaemonConfiguration, KeepsTheValuesOfItsFirstSuccessfulReading)
{
    Device::writeDaemonConfiguration(required);
    EXPECT_EQ(allTexts(), allRequired);
    Device::writeDaemonConfiguration("lockFile /other\n" + required);
    EXPECT_EQ(allTexts(), allRequired);
    std::filesystem::remove("/etc/ostrel/config.daemon");
    EXPECT_EQ(allTexts(), allRequired);
    EXPECT_EQ(&DaemonConfiguration::getInstance(), &DaemonConfiguration::getInstance());
}

TEST(DaemonConfiguration, LeavesNoDescriptorOpen)
{
    Device::writeDaemonConfiguration(required);
    const std::size_t before = support::openDescriptorCount();
    DaemonConfiguration::getLockFile();
    EXPECT_EQ(support::openDescriptorCount(), before);
}

TEST(DaemonConfiguration, IsCreatedOnceForConcurrentFirstCalls)
{
    Device::writeDaemonConfiguration(required);
    std::mutex mutex;
    std::set<std::string> texts;
    std::set<const DaemonConfiguration*> instances;
    std::vector<std::thread> threads;
    for (int number = 0; number < 8; ++number) {
        threads.emplace_back([&] {
            const std::string text = allTexts();
            const std::lock_guard<std::mutex> lock(mutex);
            texts.insert(text);
            instances.insert(&DaemonConfiguration::getInstance());
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(texts, std::set<std::string>{allRequired});
    EXPECT_EQ(instances.size(), 1U);
}

} // namespace
