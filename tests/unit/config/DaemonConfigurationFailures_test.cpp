#include <ostrel/DaemonConfiguration.h>

#include "support/AllocationFault.h"
#include "support/CapturedErrors.h"
#include "support/Device.h"
#include "support/Thrown.h"

#include <gmock/gmock.h>

#include <atomic>
#include <filesystem>
#include <thread>

// After a failed construction the next call tries again, so one process can test many bad files.

namespace
{

namespace fs = std::filesystem;
using ostrel::DaemonConfiguration;
using support::Device;
using support::thrownBy;
using support::thrownWithoutMemory;
using testing::Contains;

const std::string file = "/etc/ostrel/config.daemon";
const std::string required = "ostrelDirectory /store/of/certificates\n"
                             "notificationGroup notifiers\n"
                             "serviceConfigDirectory /services\n"
                             "namePipesDirectory /pipes/of/services\n"
                             "daemonUser keeper\n"
                             "scriptsDirectory /scripts\n"
                             "lockFile /lock\n"
                             "pidFile /pid\n";
const std::string bad = "std::runtime_error: Bad daemon configuration file : ";
const std::string allMissing = bad + "'ostrelDirectory' is not defined; "
                                     "'notificationGroup' is not defined; "
                                     "'serviceConfigDirectory' is not defined; "
                                     "'namePipesDirectory' is not defined; "
                                     "'daemonUser' is not defined; "
                                     "'scriptsDirectory' is not defined; "
                                     "'lockFile' is not defined; "
                                     "'pidFile' is not defined; ";
// Intended: both time-drift keys are called TimeDriftSleepTime.
const std::string noNumber =
    "std::runtime_error: Std exception invalid argument caught while getting the value for "
    "TimeDriftSleepTime in api: stoi";
const std::string outOfRange =
    "std::runtime_error: Std exception out of range caught while getting the value for "
    "TimeDriftSleepTime in api: stoi";

void getLockFile()
{
    DaemonConfiguration::getLockFile();
}

std::string without(const std::string& key)
{
    const std::size_t begin = required.find(key + ' ');
    std::string text = required;
    return text.erase(begin, required.find('\n', begin) + 1 - begin);
}

struct Row {
    const char* sentence;
    std::string text;
    std::string expected;
};

TEST(BadDaemonConfiguration, IsRefusedWithItsReason)
{
    const Row rows[] = {
        {"an empty file", "", allMissing},
        {"only comments", "# a b\n   # c d\n", allMissing},
        {"only unknown keys", "a b\n", allMissing},
        {"two keys missing", required.substr(0, required.find("lockFile")),
         bad + "'lockFile' is not defined; 'pidFile' is not defined; "},
        {"a required key followed by blanks", without("daemonUser") + "daemonUser  \t\n",
         bad + "'daemonUser' is not defined; "},
        {"a required key followed by a comment", without("daemonUser") + "daemonUser # root\n",
         bad + "'daemonUser' is not defined; "},
        {"a required key that is commented out", without("pidFile") + "#pidFile /pid\n",
         bad + "'pidFile' is not defined; "},
        {"a required key that differs in case", without("lockFile") + "lockfile /lock\n",
         bad + "'lockFile' is not defined; "},
        {"a required key with an equals sign", without("lockFile") + "lockFile=/lock\n",
         bad + "'lockFile' is not defined; "},
        {"minDateForGeneratingCert without digits", required + "minDateForGeneratingCert x\n",
         "std::invalid_argument: stoll"},
        {"minDateForGeneratingCert too large",
         required + "minDateForGeneratingCert 9223372036854775808\n", "std::out_of_range: stoll"},
        {"minDateForGeneratingCert too small",
         required + "minDateForGeneratingCert -9223372036854775809\n", "std::out_of_range: stoll"},
        {"TimeDriftSleepTime without digits", required + "TimeDriftSleepTime abc\n", noNumber},
        {"TimeDriftThresholdValue without digits", required + "TimeDriftThresholdValue abc\n",
         noNumber},
        {"TimeDriftSleepTime too large", required + "TimeDriftSleepTime 2147483648\n", outOfRange},
        {"TimeDriftThresholdValue too small", required + "TimeDriftThresholdValue -2147483649\n",
         outOfRange},
        {"only a sign", required + "TimeDriftSleepTime -\n", noNumber},
        {"a bad number and missing keys", "TimeDriftSleepTime abc\n", noNumber},
        {"a bad date and missing keys", "minDateForGeneratingCert abc\n",
         "std::invalid_argument: stoll"},
        {"a bad date before a bad number", "TimeDriftSleepTime abc\nminDateForGeneratingCert abc\n",
         "std::invalid_argument: stoll"},
        {"the sleep time before the threshold",
         "TimeDriftThresholdValue 9999999999\nTimeDriftSleepTime abc\n", noNumber},
    };
    for (const Row& row : rows) {
        Device::writeDaemonConfiguration(row.text);
        EXPECT_EQ(thrownBy(getLockFile), row.expected) << row.sentence;
    }
    Device::writeDaemonConfiguration(required);
    EXPECT_EQ(thrownBy(getLockFile), "nothing") << "with a good file";
}

TEST(BadDaemonConfiguration, NamesEachMissingKey)
{
    for (const char* key :
         {"ostrelDirectory", "notificationGroup", "serviceConfigDirectory", "namePipesDirectory",
          "daemonUser", "scriptsDirectory", "lockFile", "pidFile"}) {
        Device::writeDaemonConfiguration(without(key));
        EXPECT_EQ(thrownBy(getLockFile), bad + "'" + key + "' is not defined; ");
    }
}

TEST(BadDaemonConfiguration, IncludesAFileThatCannotBeOpened)
{
    const std::string expected = "std::runtime_error: Failed to open configuration file : " + file;
    Device::writeDaemonConfiguration("");
    fs::remove_all("/etc/ostrel");
    EXPECT_EQ(thrownBy(getLockFile), expected) << "no directory";
    fs::create_directory("/etc/ostrel");
    EXPECT_EQ(thrownBy(getLockFile), expected) << "no file";
    fs::create_symlink(file, file);
    EXPECT_EQ(thrownBy(getLockFile), expected) << "a link to itself";
    fs::remove(file);
    fs::create_directory(file);
    EXPECT_EQ(thrownBy(getLockFile), allMissing) << "a directory can be opened and has no lines";
    fs::remove(file);
    EXPECT_EQ(thrownBy(getLockFile), expected);
    Device::writeDaemonConfiguration(required);
    EXPECT_EQ(thrownBy(getLockFile), "nothing");
}

template <class Result>
std::string thrownByGetter(Result (*getter)())
{
    return thrownBy([getter] { getter(); });
}

TEST(BadDaemonConfiguration, IsPassedOnUnchangedByTheOtherGetters)
{
    using Class = DaemonConfiguration;
    Device::writeDaemonConfiguration("minDateForGeneratingCert x\n");
    const std::string bare = "std::invalid_argument: stoll";
    EXPECT_EQ(thrownBy([] { Class::getInstance(); }), bare);
    EXPECT_EQ(thrownByGetter(Class::getNotificationGroup), bare);
    EXPECT_EQ(thrownByGetter(Class::getServiceConfigDirectory), bare);
    EXPECT_EQ(thrownByGetter(Class::getMinDateForGeneratingCert), bare);
    EXPECT_EQ(thrownByGetter(Class::getDaemonUser), bare);
    EXPECT_EQ(thrownByGetter(Class::getScriptsDirectory), bare);
    EXPECT_EQ(thrownByGetter(Class::getLockFile), bare);
    EXPECT_EQ(thrownByGetter(Class::getPidFile), bare);
    EXPECT_EQ(thrownByGetter(Class::getTimeDriftSleepTime), bare);
    EXPECT_EQ(thrownByGetter(Class::getTimeDriftThresholdValue), bare);
}

const std::string whileOstrel = "caught while getting ostreld directory";
const std::string whilePipes = "caught while getting named pipes directory";

// Intended: two getters name what they were getting; one writes "Std", the other "Standard".
TEST(BadDaemonConfiguration, IsTranslatedByTwoGetters)
{
    using Class = DaemonConfiguration;
    Device::writeDaemonConfiguration("minDateForGeneratingCert x\n");
    EXPECT_EQ(thrownByGetter(Class::getOstrelDirectory),
              "std::runtime_error: Std exception " + whileOstrel + ": stoll");
    EXPECT_EQ(thrownByGetter(Class::getNamePipesDirectory),
              "std::runtime_error: Standard exception " + whilePipes + ": stoll");
    fs::remove(file);
    EXPECT_EQ(thrownByGetter(Class::getOstrelDirectory),
              "std::runtime_error: Runtime error " + whileOstrel +
                  ": Failed to open configuration file : " + file);
    EXPECT_EQ(thrownByGetter(Class::getNamePipesDirectory),
              "std::runtime_error: Runtime error " + whilePipes +
                  ": Failed to open configuration file : " + file);
}

TEST(BadDaemonConfiguration, IsNotPrinted)
{
    Device::writeDaemonConfiguration("");
    const support::CapturedErrors errors;
    EXPECT_EQ(thrownBy(getLockFile), allMissing);
    EXPECT_EQ(errors.text(), "");
}

TEST(BadDaemonConfiguration, FailsInEveryThreadUntilTheFileIsGood)
{
#ifdef __SANITIZE_THREAD__
    GTEST_SKIP() << "g++'s thread sanitizer does not follow a one-time initialisation that fails: "
                    "it reports a race, or hangs, in any program that has one";
#endif
    Device::writeDaemonConfiguration("");
    std::atomic<int> failures{0};
    std::vector<std::thread> threads;
    for (int number = 0; number < 8; ++number) {
        threads.emplace_back([&] { failures += thrownBy(getLockFile) == allMissing ? 1 : 0; });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(failures, 8);
    Device::writeDaemonConfiguration(required);
    EXPECT_EQ(DaemonConfiguration::getLockFile(), "/lock");
}

// Only a failed allocation reaches the last tier of each text.
TEST(DaemonConfigurationWithoutMemory, ReportsAFailureThatIsNotAStandardException)
{
    Device::writeDaemonConfiguration(required + "TimeDriftSleepTime abc\n");
    EXPECT_THAT(thrownWithoutMemory(getLockFile, support::failWithNonStandardException),
                Contains("std::runtime_error: Generic exception caught while getting value for "
                         "TimeDriftSleepTime."));
    Device::writeDaemonConfiguration(required);
    EXPECT_THAT(thrownWithoutMemory([] { DaemonConfiguration::getOstrelDirectory(); },
                                    support::failWithNonStandardException),
                Contains("std::runtime_error: Generic exception " + whileOstrel + '.'));
    EXPECT_THAT(thrownWithoutMemory([] { DaemonConfiguration::getNamePipesDirectory(); },
                                    support::failWithNonStandardException),
                Contains("std::runtime_error: Generic exception " + whilePipes + '.'));
}

} // namespace
