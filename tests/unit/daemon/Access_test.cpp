#include "base/Files.h"

#include "support/TextFiles.h"

#include <gmock/gmock.h>

#include <string>
#include <vector>

#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace
{

std::vector<std::string> calls;

std::string octal(mode_t mode)
{
    char text[16];
    std::snprintf(text, sizeof text, "%o", static_cast<unsigned>(mode));
    return text;
}

} // namespace

// Replace the C library's functions, to record the order of the calls and to
// accept groups that the machine does not have.
extern "C" int fchown(int /*descriptor*/, uid_t /*owner*/, gid_t group)
{
    calls.push_back("group " + std::to_string(group));
    return 0;
}

extern "C" int fchmod(int descriptor, mode_t mode)
{
    calls.push_back("mode " + octal(mode));
    return static_cast<int>(::syscall(SYS_fchmod, descriptor, mode));
}

namespace
{

const gid_t own = ::getegid();
const gid_t other = own + 1;
const std::string toOther = "group " + std::to_string(other);

TEST(Access, IsNeverWiderThanBeforeOrAfterAChangeOfTheGroup)
{
    using Calls = std::vector<std::string>;
    const struct {
        const char* sentence;
        mode_t before;
        ostreld::Access wanted;
        Calls calls;
    } rows[] = {
        {"nothing", 0640, {own, 0640}, {}},
        {"a mode", 0640, {own, 0600}, {"mode 600"}},
        {"a group", 0640, {other, 0640}, {toOther}},
        {"a group with fewer rights", 0640, {other, 0600}, {"mode 600", toOther}},
        {"a group with more rights", 0600, {other, 0640}, {toOther, "mode 640"}},
        {"a group with different rights", 0640, {other, 0620}, {"mode 600", toOther, "mode 620"}},
        {"a group whose sticky bit was missing", 0730, {other, 01730}, {"mode 1730", toOther}},
        {"rights that somebody gave", 0777, {other, 0710}, {"mode 710", toOther}},
    };
    const support::TemporaryDirectory directory;
    const std::string path = directory / "file";
    support::writeText(path, "");
    const auto file = ostrel::Descriptor::open(path, O_RDONLY);
    for (const auto& row : rows) {
        ASSERT_EQ(::chmod(path.c_str(), row.before), 0);
        calls.clear();
        ostreld::setAccess(file, path, row.wanted);
        EXPECT_EQ(calls, row.calls) << row.sentence;
    }
}

} // namespace
