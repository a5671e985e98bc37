#include <ostrel/Tools.h>

#include "support/BindMount.h"
#include "support/CapturedErrors.h"
#include "support/TextFiles.h"

#include <gtest/gtest.h>

#include <set>

namespace
{

using ostrel::Tools;
using support::BindMount;
using support::CapturedTrace;

// Intended: "ao" in the place of "op". "p" is missing; 62 characters in all.
const std::string alphabet = "abcdefghijklmnaoqrstuvwxyz1234567890ABCDEFGHIJKLMNOPQRSTUVWXYZ";

const char device[] = "/dev/urandom";

std::string bytesOf(const std::vector<std::uint32_t>& values)
{
    return {reinterpret_cast<const char*>(values.data()), values.size() * sizeof values.front()};
}

TEST(GetRandomName, HasTheRequestedLength)
{
    const CapturedTrace errors;
    for (const unsigned int length : {0U, 1U, 31U, 32U, 33U, 5000U}) {
        EXPECT_EQ(Tools::getRandomName(length).size(), length);
    }
    EXPECT_EQ(errors.text(), "");
}

TEST(GetRandomName, UsesAllCharactersOfTheAlphabetAndNoOthers)
{
    const std::string name = Tools::getRandomName(20000);
    EXPECT_EQ(name.find_first_not_of(alphabet), std::string::npos);
    EXPECT_EQ(name.find('p'), std::string::npos);
    EXPECT_EQ(std::set<char>(name.begin(), name.end()).size(), 61U);
}

TEST(GetRandomName, DoesNotRepeatItself)
{
    std::set<std::string> names;
    for (int count = 0; count < 1000; ++count) {
        names.insert(Tools::getRandomName(32));
    }
    EXPECT_EQ(names.size(), 1000U);
}

TEST(GetRandomName, MapsFourBytesInHostOrderModuloTheLengthOfTheAlphabet)
{
    std::vector<std::uint32_t> values;
    for (std::uint32_t value = 0; value < 62; ++value) {
        values.push_back(value);
    }
    values.insert(values.end(), {62, 63, 0x01000000, 0xFFFFFFFF});
    const support::TemporaryDirectory directory;
    support::writeText(directory / "device", bytesOf(values));
    const BindMount mount(directory / "device", device);
    const std::string tail = {alphabet[0], alphabet[1], alphabet[0x01000000 % 62],
                              alphabet[0xFFFFFFFF % 62]};
    EXPECT_EQ(Tools::getRandomName(66), alphabet + tail);
}

TEST(GetRandomName, UsesTheValueOfAShortRead)
{
    const support::TemporaryDirectory directory;
    support::writeText(directory / "device", "");
    const BindMount mount(directory / "device", device);
    const CapturedTrace errors;
    EXPECT_EQ(Tools::getRandomName(3), "aaa");
    EXPECT_EQ(errors.text(), "");
}

// The first page of the process is never mapped, so the file opens but cannot
// be read.
TEST(GetRandomName, IsShorterWhenTheDeviceFails)
{
    const BindMount mount("/proc/self/mem", device);
    const CapturedTrace errors;
    EXPECT_EQ(Tools::getRandomName(32), "");
    EXPECT_EQ(errors.text(), "Failed to read random device file\n");
}

TEST(GetRandomName, DoesNotReadTheDeviceForLengthZero)
{
    const BindMount mount("/proc/self/mem", device);
    const CapturedTrace errors;
    EXPECT_EQ(Tools::getRandomName(0), "");
    EXPECT_EQ(errors.text(), "");
}

// A socket exists but cannot be opened.
TEST(GetRandomName, IsEmptyWhenTheDeviceCannotBeOpened)
{
    const support::TemporaryDirectory directory;
    support::makeUnopenable(directory / "device");
    const BindMount mount(directory / "device", device);
    for (const unsigned int length : {32U, 0U}) {
        const CapturedTrace errors;
        EXPECT_EQ(Tools::getRandomName(length), "");
        EXPECT_EQ(errors.text(), "Failed to open random device file\n");
    }
}

TEST(GetRandomName, LeavesNoDescriptorOpen)
{
    const std::size_t before = support::openDescriptorCount();
    Tools::getRandomName(32);
    EXPECT_EQ(support::openDescriptorCount(), before);
}

} // namespace
