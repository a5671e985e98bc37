#include "exchange/ReplyFifo.h"

#include "support/TextFiles.h"

#include <gtest/gtest.h>

#include <atomic>
#include <thread>

#include <sys/inotify.h>
#include <sys/stat.h>
#include <sys/syscall.h>

namespace
{

using ostrel::Descriptor;
using ostreld::ReplyFifo;

constexpr mode_t mode = 0600;
constexpr unsigned int exchange = 2; // RENAME_EXCHANGE

class ReplyFifoTest : public testing::Test
{
protected:
    ReplyFifoTest() { ::mkfifo(path.c_str(), mode); }

    /// What a client reads that opens the FIFO now.
    std::string taken() const
    {
        const Descriptor client = Descriptor::open(path, O_RDONLY | O_NONBLOCK);
        char bytes[100];
        const ssize_t count = ::read(client.get(), bytes, sizeof bytes);
        return std::string(bytes, count > 0 ? static_cast<std::size_t>(count) : 0);
    }

    const support::TemporaryDirectory directory;
    const std::string path = directory / "web.out";
    const Descriptor notices{::inotify_init1(IN_CLOEXEC | IN_NONBLOCK)};
    ReplyFifo reply{path, notices};
};

TEST_F(ReplyFifoTest, HoldsTheReplyUntilItIsTaken)
{
    EXPECT_TRUE(reply.give("0 running"));
    EXPECT_TRUE(reply.isAnswered());
    EXPECT_EQ(taken(), "0 running");
}

TEST_F(ReplyFifoTest, RefusesAFileThatIsNotAFifoWithASingleName)
{
    const std::string other = directory / "other";
    const struct {
        const char* sentence;
        void (*put)(const std::string& name, const std::string& fifo);
    } rows[] = {
        {"nothing", [](const std::string&, const std::string&) {}},
        {"a file",
         [](const std::string& name, const std::string&) { support::writeText(name, ""); }},
        {"a directory",
         [](const std::string& name, const std::string&) { ::mkdir(name.c_str(), 0700); }},
        {"a symbolic link to a FIFO",
         [](const std::string& name, const std::string& fifo) {
             ASSERT_EQ(::symlink(fifo.c_str(), name.c_str()), 0);
         }},
        {"a FIFO with a second name",
         [](const std::string& name, const std::string& fifo) {
             ASSERT_EQ(::link(fifo.c_str(), name.c_str()), 0);
         }},
    };
    ::mkfifo(other.c_str(), mode);
    const Descriptor reader = Descriptor::open(other, O_RDONLY | O_NONBLOCK);
    for (const auto& row : rows) {
        ::remove(path.c_str());
        row.put(path, other);
        EXPECT_FALSE(reply.give("secret")) << row.sentence;
        EXPECT_FALSE(reply.isAnswered()) << row.sentence;
        char byte = '\0';
        EXPECT_EQ(::read(reader.get(), &byte, 1), 0) << row.sentence;
    }
}

// The client owns the directory, so it can do this between any two steps of the
// reply.
TEST_F(ReplyFifoTest, WritesToNoOtherFileThatReceivesItsName)
{
    const std::string own = directory / "own";
    support::writeText(own, "precious");
    const std::string link = directory / "link";
    ASSERT_EQ(::link(own.c_str(), link.c_str()), 0);
    std::atomic<bool> isOver{false};
    std::thread client([&] {
        while (!isOver) {
            ::syscall(SYS_renameat2, AT_FDCWD, link.c_str(), AT_FDCWD, path.c_str(), exchange);
        }
    });
    for (int i = 0; i < 20000; ++i) {
        reply.give("SECRET");
        reply.drop();
    }
    isOver = true;
    client.join();
    EXPECT_EQ(support::readText(own), "precious");
}

// The object keeps the memory until the next reply.
TEST_F(ReplyFifoTest, WipesAReplyThatNoClientCanTake)
{
    ::unlink(path.c_str());
    const std::string key(4000, 'k');
    std::string text = key;
    const char* const bytes = text.data();
    EXPECT_FALSE(reply.give(std::move(text)));
    EXPECT_NE(std::string(bytes + key.size() / 2, 100), key.substr(0, 100));
}

} // namespace
