#include "cli/CliCase.h"
#include "support/FileWatch.h"

#include "tools/Descriptor.h"

#include <chrono>
#include <filesystem>
#include <future>

#include <sys/file.h>

namespace
{

namespace fs = std::filesystem;
using cli_case::FinishedProgram;
using cli_case::run;
using testing::HasSubstr;

class Wait : public cli_case::WithDaemon
{
protected:
    ostrel::Descriptor heldLock() const
    {
        auto lock = ostrel::Descriptor::open(pipe("web", "lock"), O_WRONLY);
        EXPECT_EQ(::flock(lock.get(), LOCK_EX), 0);
        return lock;
    }
};

TEST_F(Wait, EndsWhenTheServiceIsFree)
{
    ostrel::Descriptor lock = heldLock();
    const support::FileWatch closings({fs::path(pipe("web", "lock")).parent_path()}, IN_CLOSE);
    auto finished = std::async(std::launch::async, [] {
        return run({"reload", "web", "--wait", "30", "--debug"});
    });
    closings.awaitTouch("web.lock");
    lock.close();
    const FinishedProgram result = finished.get();
    EXPECT_EQ(result.status, 0);
    EXPECT_THAT(result.errors, HasSubstr("already locked"));
}

TEST_F(Wait, NamesTheHolderWhenTheTimeIsOver)
{
    const ostrel::Descriptor lock = heldLock();
    const auto start = std::chrono::steady_clock::now();
    const FinishedProgram finished = run({"reload", "web", "--wait", "1"});
    EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::seconds(1));
    EXPECT_EQ(finished.status, 3);
    EXPECT_THAT(finished.errors, HasSubstr("by process " + std::to_string(::getpid()) + " ("));
    EXPECT_THAT(finished.errors, testing::ContainsRegex("for [1-9][0-9]* s now"));
}

TEST_F(Wait, IsBoundedByTheTimeOut)
{
    const ostrel::Descriptor lock = heldLock();
    EXPECT_EQ(run({"reload", "web", "--wait", "60", "--timeout", "1"}).status, 9);
}

TEST_F(Wait, LetsManyProgramsAddInTurn)
{
    std::vector<std::future<FinishedProgram>> all;
    for (int i = 0; i < 6; ++i) {
        cli_case::TestCertificate certificate;
        const std::string path = file(std::to_string(i), {certificate.pem(), certificate.pem()});
        all.push_back(std::async(std::launch::async, [path] {
            return run({"ca", "add", "web", path, "--wait", "30", "--timeout", "50"});
        }));
    }
    for (auto& one : all) {
        const FinishedProgram finished = one.get();
        EXPECT_EQ(finished.status, 0) << finished.errors;
    }
    EXPECT_EQ(service.getCAList().size(), 12U);
}

} // namespace
