#include <ostrel/Tools.h>

#include "support/Accounts.h"
#include "support/AllocationFault.h"
#include "support/TextFiles.h"

#include <gmock/gmock.h>

// Error texts that only a failed allocation produces.

namespace
{

using ostrel::Tools;
using support::thrownWithoutMemory;
using testing::Contains;

void failToChangeMode()
{
    Tools::createDirectory("/proc/self/fd", 0700);
}

TEST(FilesWithoutMemory, CreateDirectoryTranslatesEveryFailureToChangeTheMode)
{
    EXPECT_THAT(thrownWithoutMemory(failToChangeMode, support::failAsOutOfMemory),
                Contains("std::runtime_error: Caught standard exception. Faied to change the mode. "
                         "Reason: std::bad_alloc"));
    EXPECT_THAT(thrownWithoutMemory(failToChangeMode, support::failWithNonStandardException),
                Contains("std::runtime_error: Caught unknown exception while changing the mode"));
}

TEST(FilesWithoutMemory, ChangeGroupByNameTranslatesEveryFailure)
{
    const support::Accounts accounts;
    const support::TemporaryDirectory directory;
    const std::string path = directory / "file";
    support::writeText(path, "text");
    const auto work = [&] { Tools::changeGroup(path, "root"); };
    EXPECT_THAT(
        thrownWithoutMemory(work, support::failAsOutOfMemory),
        Contains("std::runtime_error: Std exception caught while changing group for file '" + path +
                 "': std::bad_alloc"));
    EXPECT_THAT(thrownWithoutMemory(work, support::failWithNonStandardException),
                Contains("std::runtime_error: Generic exception caught while changing group for "
                         "file '" +
                         path + "'."));
    EXPECT_THAT(
        thrownWithoutMemory(work, support::failWithRuntimeError),
        Contains("std::runtime_error: Runtime error caught while changing group for file '" + path +
                 "': injected"));
}

// Intended: unlike the group's form, this one passes every exception on
// unchanged.
TEST(FilesWithoutMemory, ChangeUserByNamePassesEveryFailureOn)
{
    const support::Accounts accounts;
    const support::TemporaryDirectory directory;
    support::writeText(directory / "file", "text");
    const std::string path = directory / "file";
    const std::string name = "root";
    const auto thrown =
        thrownWithoutMemory([&] { Tools::changeUser(path, name); }, support::failAsOutOfMemory);
    EXPECT_THAT(thrown, testing::ElementsAre("std::bad_alloc: std::bad_alloc"));
}

} // namespace
