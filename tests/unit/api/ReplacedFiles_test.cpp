// Files of a call whose names another process replaces before the call changes their
// group and mode. In a directory without the sticky bit any member could.

#include "unit/api/ServiceCase.h"

#include <ostrelApi/CallError.h>

#include "support/Accounts.h"
#include "support/CapturedErrors.h"

#include <gmock/gmock.h>

#include <cstring>

#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace
{

namespace fs = std::filesystem;

/// Replaces the file of a call, once it is created.
std::function<void(const fs::path& file)> replacement;

void replaceOnce(const fs::path& file)
{
    if (replacement) {
        std::exchange(replacement, nullptr)(file);
    }
}

struct Row {
    const char* sentence;
    void (*replace)(const fs::path& file, const fs::path& victim);
};

const Row rows[] = {
    {"a symbolic link",
     [](const fs::path& file, const fs::path& victim) {
         fs::remove(file);
         fs::create_symlink(victim, file);
     }},
    {"a second name",
     [](const fs::path& file, const fs::path& victim) {
         fs::remove(file);
         fs::create_hard_link(victim, file);
     }},
    {"a directory",
     [](const fs::path& file, const fs::path& victim) {
         fs::remove(file);
         fs::rename(victim.parent_path(), file);
     }},
};

class ReplacedFile : public service_case::ServiceCase
{
protected:
    ReplacedFile()
    {
        support::Accounts::addGroup(
            "managers:x:" + std::to_string(support::Accounts::foreignGroup()) + ':');
        device.addService("odd", "managmentGroup managers\nca yes\n");
    }

    /// Makes `row` replace the next file of a call, and expects that the call fails and
    /// leaves the victim as it is.
    void expectRefusal(const Row& row, const std::function<void()>& call, const std::string& traced)
    {
        SCOPED_TRACE(row.sentence);
        const std::string directory = device.storeDirectory() + "/victim";
        support::writeText(directory + "/file", "text");
        const ostrel::Descriptor victims[] = {
            ostrel::Descriptor::open(directory, O_RDONLY),
            ostrel::Descriptor::open(directory + "/file", O_RDONLY)};
        for (const ostrel::Descriptor& victim : victims) {
            ASSERT_EQ(::fchmod(victim.get(), 0700), 0);
        }
        replacement = [&](const fs::path& file) { row.replace(file, directory + "/file"); };
        const support::CapturedTrace trace;
        const ostrelApi::CallError error = support::callErrorOf(call);
        EXPECT_EQ(error.getReturnCode(), 1);
        EXPECT_EQ(error.getSystemError(), EPERM);
        EXPECT_THAT(trace.text(), testing::HasSubstr(traced));
        for (const ostrel::Descriptor& victim : victims) {
            struct stat status = {};
            ASSERT_EQ(::fstat(victim.get(), &status), 0);
            EXPECT_EQ(status.st_mode & 07777U, 0700U);
            EXPECT_EQ(status.st_gid, 0U);
        }
        fs::remove_all(directory);
    }

    const support::Accounts accounts;
};

TEST_F(ReplacedFile, OfAReplyIsNotGivenToTheGroup)
{
    support::ScriptedPeer peer(device, "odd");
    ostrelApi::OstrelService odd("odd");
    for (const Row& row : rows) {
        expectRefusal(
            row, [&] { odd.isServiceRunning(); },
            "Error: Change the group of the out file to 'managers' failed.\n");
        fs::remove_all(peer.outPath());
    }
}

TEST_F(ReplacedFile, OfAnImportIsNotGivenToTheGroup)
{
    support::ScriptedPeer peer(device, "odd");
    ostrelApi::OstrelService odd("odd");
    for (const Row& row : rows) {
        expectRefusal(
            row, [&] { odd.addCA(service_case::pem("AA\n")); },
            "Impossible to change the group for " + device.pipesDirectory() + "/odd/");
    }
}

} // namespace

extern "C" int mkfifo(const char* path, mode_t mode) noexcept
{
    const int result = ::mknod(path, mode | S_IFIFO, 0);
    replaceOnce(path);
    return result;
}

// The library's calls of close() come here.
extern "C" int close(int descriptor)
{
    char name[4096] = {};
    const std::string link = "/proc/self/fd/" + std::to_string(descriptor);
    const bool isNamed = ::readlink(link.c_str(), name, sizeof name - 1) > 0;
    const auto result = static_cast<int>(::syscall(SYS_close, descriptor));
    if (isNamed && fs::path(name).extension() == ".crt") {
        replaceOnce(name);
    }
    return result;
}
