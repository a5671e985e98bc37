#include "exchange/Exchange.h"

#include "support/TextFiles.h"

#include <gtest/gtest.h>

#include <csignal>
#include <random>

#include <sys/file.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

namespace
{

using ostrel::Descriptor;
using ostreld::Call;
using ostreld::Exchange;
using ostreld::Loop;

constexpr gid_t sameGroup = static_cast<gid_t>(-1);

/// A client that keeps the steps of the library, in the directory of one service.
class Client
{
public:
    explicit Client(std::string base) : m_base(std::move(base)) {}

    /// Takes the lock, and sends a message. `giveUp` removes the reply FIFO then.
    void send(const std::string& message)
    {
        m_lock = Descriptor::open(m_base + ".lock", O_WRONLY);
        ::flock(m_lock.get(), LOCK_EX);
        if (::mkfifo((m_base + ".out").c_str(), 0600) != 0) {
            ::_exit(3);
        }
        const auto command = Descriptor::open(m_base + ".in", O_WRONLY);
        writeAll(command, message);
    }

    std::string receive() const
    {
        const auto reply = Descriptor::open(m_base + ".out", O_RDONLY);
        char bytes[1000];
        std::string text;
        for (ssize_t count; (count = ::read(reply.get(), bytes, sizeof bytes)) > 0;) {
            text.append(bytes, static_cast<std::size_t>(count));
        }
        return text;
    }

    void end()
    {
        ::unlink((m_base + ".out").c_str());
        ::flock(m_lock.get(), LOCK_UN);
        m_lock.close();
    }

private:
    const std::string m_base;
    Descriptor m_lock;
};

class ExchangeTest : public testing::Test
{
protected:
    // As the daemon does.
    ExchangeTest()
    {
        for (const int signal : {SIGIO, SIGPIPE}) {
            std::signal(signal, SIG_IGN);
        }
    }

    /// Runs `client` in a process of its own, and the exchange until that has ended.
    template <class Work>
    int serve(Work client)
    {
        const pid_t child = ::fork();
        if (child == 0) {
            ::_exit(client());
        }
        int status = 0;
        const std::function<void()> look = [&] {
            if (::waitpid(child, &status, WNOHANG) == child) {
                loop.stop();
            }
            again = loop.after(Loop::Milliseconds(5), look);
        };
        look();
        loop.run();
        return WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status);
    }

    void answer(Call call)
    {
        const std::string& text = call.message.text;
        ++calls;
        refusals += call.message.clarity == ostreld::Binding::Clarity::Clear ? 0 : 1;
        exchange.answer(std::move(call.reply), "0 " + text.substr(text.rfind('\t') + 1));
    }

    int calls = 0;
    int refusals = 0;
    const support::TemporaryDirectory directory;
    const std::string base = directory / "web";
    Loop loop;
    Exchange exchange{loop, directory.path(), "web", sameGroup,
                      [this](Call call) { answer(std::move(call)); }};
    Loop::Source again;
};

TEST_F(ExchangeTest, GivesEachCallerTheAnswerToItsMessageOrNone)
{
    constexpr int rounds = 4000;
    const int status = serve([&] {
        Client client(base);
        std::mt19937 random(1);
        for (int i = 0; i < rounds; ++i) {
            const std::string id = "id" + std::to_string(i);
            client.send("root\t812\tca\trevoke\t" + id);
            if (random() % 10 < 7) {
                for (volatile std::mt19937::result_type wait = random() % 30000; wait > 0; --wait) {
                }
            } else if (client.receive() != "0 " + id) {
                return 1;
            }
            client.end();
        }
        return 0;
    });
    EXPECT_EQ(status, 0) << "a wrong answer";
    EXPECT_EQ(refusals, 0);
    EXPECT_GT(calls, rounds / 10);
}

TEST_F(ExchangeTest, DeliversALongReplyToASlowCaller)
{
    const int status = serve([&] {
        Client client(base);
        client.send("root\t812\tca\trevoke\t" + std::string(60000, 'a'));
        ::usleep(20000);
        const std::string reply = client.receive();
        client.end();
        return reply == "0 " + std::string(60000, 'a') ? 0 : 1;
    });
    EXPECT_EQ(status, 0);
}

TEST_F(ExchangeTest, RemovesTheReplyFifoOfAKilledCaller)
{
    const int status = serve([&] {
        if (::fork() == 0) {
            Client client(base);
            client.send("root\t812\tca\trevoke\ta");
            ::raise(SIGKILL);
        }
        ::wait(nullptr);
        while (::access((base + ".out").c_str(), F_OK) == 0) {
            ::usleep(1000);
        }
        Client client(base);
        client.send("root\t812\tca\trevoke\tb");
        const std::string reply = client.receive();
        client.end();
        return reply == "0 b" ? 0 : 1;
    });
    EXPECT_EQ(status, 0);
}

} // namespace
