#include "integration/DaemonCase.h"

#include "support/Await.h"
#include "support/ScriptedClient.h"
#include "support/TestCertificate.h"
#include "tools/Descriptor.h"

#include <gmock/gmock.h>

#include <filesystem>

#include <sys/stat.h>
#include <unistd.h>

namespace
{

namespace fs = std::filesystem;
using daemon_case::payload;
using daemon_case::refusal;
using support::ScriptedClient;
using support::Step;
using support::TestCertificate;
using testing::HasSubstr;
using testing::StartsWith;

class Distrust : public daemon_case::WithDaemon
{
protected:
    std::string add(const std::string& path) const
    {
        return daemon_case::ask("web", ostrel::TargetCA, ostrel::CommandAdd, {path});
    }

    /// Returns the reply to a message of any bytes.
    std::string reply(const std::string& message) const
    {
        ScriptedClient client(device, "web", message, Step::TakesLock);
        client.resume();
        return client.outcome();
    }

    std::string inPipes(const std::string& name) const { return pipeDirectory("web") + '/' + name; }

    const support::TemporaryDirectory elsewhere;
    const std::string certificate = TestCertificate().pem();
};

TEST_F(Distrust, AcceptsACertificateFileOnlyFromTheServicesOwnDirectory)
{
    support::writeText(inPipes("good.crt"), certificate);
    support::writeText(inPipes("sub/good.crt"), certificate);
    support::writeText(elsewhere / "good.crt", certificate);
    support::writeText(device.pipesDirectory() + "/vpn/good.crt", certificate);
    const struct {
        const char* sentence;
        std::string path;
    } rows[] = {
        {"elsewhere", elsewhere / "good.crt"},
        {"in another service's directory", device.pipesDirectory() + "/vpn/good.crt"},
        {"through the parent directory", inPipes("../vpn/good.crt")},
        {"through the parent directory and back", inPipes("../web/good.crt")},
        {"through the directory itself", inPipes("./good.crt")},
        {"with two slashes", inPipes("/good.crt")},
        {"in a directory below", inPipes("sub/good.crt")},
        {"relative", "good.crt"},
        {"the directory itself", pipeDirectory("web")},
        {"the directory itself, with a slash", inPipes("")},
        {"the name .", inPipes(".")},
        {"the name ..", inPipes("..")},
        {"no path", ""},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(add(row.path), refusal(std::string(row.path).empty() ? 4 : 3)) << row.sentence;
    }
    EXPECT_EQ(add(inPipes("good.crt")), payload(support::fingerprintId(certificate)));
}

TEST_F(Distrust, AcceptsOnlyARegularFileAsCertificate)
{
    support::writeText(inPipes("good.crt"), certificate);
    fs::create_symlink("good.crt", inPipes("link"));
    fs::create_symlink("/dev/zero", inPipes("device link"));
    fs::create_directory(inPipes("directory"));
    ASSERT_EQ(::mkfifo(inPipes("fifo").c_str(), 0600), 0);
    ASSERT_EQ(::mknod(inPipes("socket").c_str(), S_IFSOCK | 0600, 0), 0);
    for (const char* name :
         {"link", "device link", "directory", "fifo", "socket", "missing", "web.in", "web.out"}) {
        EXPECT_EQ(add(inPipes(name)), refusal(3)) << name;
    }
    EXPECT_EQ(add(inPipes("good.crt")), payload(support::fingerprintId(certificate)));
}

TEST_F(Distrust, RefusesACertificateFileLargerThanAMebibyte)
{
    constexpr std::size_t limit = 1 << 20;
    support::writeText(inPipes("full"),
                       certificate + std::string(limit - certificate.size(), '\n'));
    support::writeText(inPipes("more"),
                       certificate + std::string(limit + 1 - certificate.size(), '\n'));
    EXPECT_EQ(add(inPipes("more")), refusal(3));
    EXPECT_EQ(add(inPipes("full")), payload(support::fingerprintId(certificate)));
}

/// The standard input that a program would read a password from.
class StandardInput
{
public:
    explicit StandardInput(const std::string& text)
    {
        int ends[2] = {-1, -1};
        EXPECT_EQ(::pipe2(ends, O_CLOEXEC | O_NONBLOCK), 0);
        ostrel::writeAll(ostrel::Descriptor(ends[1]), text);
        EXPECT_EQ(::dup2(ends[0], STDIN_FILENO), STDIN_FILENO);
        ::close(ends[0]);
        // Without a controlling terminal, from which the password could be read
        // instead.
        ::setsid();
    }

    static std::string rest()
    {
        char bytes[64];
        const ssize_t count = ::read(STDIN_FILENO, bytes, sizeof bytes);
        return {bytes, count > 0 ? static_cast<std::size_t>(count) : 0};
    }
};

TEST_F(Distrust, DoesNotPromptForThePasswordOfAnEncryptedCertificate)
{
    daemon.stop();
    const StandardInput input("password\n");
    daemon.start();
    std::string encrypted = certificate;
    encrypted.insert(encrypted.find('\n') + 1,
                     "Proc-Type: 4,ENCRYPTED\n"
                     "DEK-Info: AES-128-CBC,00112233445566778899AABBCCDDEEFF\n\n");
    support::writeText(inPipes("encrypted.crt"), encrypted);
    EXPECT_EQ(add(inPipes("encrypted.crt")), refusal(9));
    EXPECT_EQ(input.rest(), "password\n");
}

TEST_F(Distrust, DoesNotRemoveTheFileThatAClientNames)
{
    support::writeText(inPipes("good.crt"), certificate);
    add(inPipes("good.crt"));
    add(inPipes("good.crt"));
    EXPECT_EQ(support::readText(inPipes("good.crt")), certificate);
}

TEST_F(Distrust, RefusesAMalformedMessage)
{
    const std::string command = "root\t1\tca\tlist";
    const struct {
        const char* sentence;
        std::string message;
    } rows[] = {
        {"no fields", "hello"},
        {"three fields", "root\t1\tca"},
        {"an unknown target", "root\t1\tCA\tlist"},
        {"an unknown command", "root\t1\tca\tlists"},
        {"a command of another target", "root\t1\tconfig\tlist"},
        {"one argument too many", command + "\t1"},
        {"one argument too few", "root\t1\tca\tadd"},
        {"a line feed", command + "\n"},
        {"a NUL", command + std::string(1, '\0')},
        {"an escape character", "\x1b[2J" + command},
        {"a delete character", "\x7f" + command},
        {"only tabs", "\t\t\t\t"},
    };
    for (const auto& row : rows) {
        const support::RunningDaemon::LogMark mark(daemon);
        EXPECT_THAT(reply(row.message), StartsWith("reply 4 ")) << row.sentence;
        mark.await("refused (4 - Bad command)");
    }
    EXPECT_EQ(reply(""), "reply 5 no message");
    EXPECT_EQ(reply(command), "reply 0 ");
}

TEST_F(Distrust, AcceptsMessagesOfUpTo64Kibibytes)
{
    const std::string start = "root\t1\tca\tlistByCN\t";
    const auto message = [&](std::size_t length) {
        return start + std::string(length - start.size(), 'x');
    };
    EXPECT_EQ(reply(message(65536)), "reply 0 ");
    for (const std::size_t length : {65537U, 100000U, 5000000U}) {
        const support::RunningDaemon::LogMark mark(daemon);
        EXPECT_THAT(reply(message(length)), StartsWith("reply 4 ")) << length;
        mark.await("the message is too long");
    }
    EXPECT_EQ(reply("root\t1\tconfig\tstatus"), "reply 0 running");
}

TEST_F(Distrust, LetsNoClientInsertALineIntoTheLog)
{
    daemon.stop();
    daemon.start({"--debug"});
    reply("root\nostreld: forged 1\t1\tca\tlist");
    reply("root\t1\tca\tlistByCN\tx\nostreld: forged 2");
    reply("root\r\x1b[1Aostreld: forged 3\t1\tca\trevoke\t\nforged 4");
    const std::string log = daemon.log();
    EXPECT_THAT(log, Not(HasSubstr("\nostreld: forged")));
    EXPECT_THAT(log, Not(HasSubstr("\nforged")));
    EXPECT_THAT(log, Not(HasSubstr("\x1b")));
    EXPECT_THAT(log, Not(HasSubstr("\r")));
}

TEST_F(Distrust, StopsWhileAClientWritesWithoutEnd)
{
    ScriptedClient client(device, "web", std::string(1 << 28, 'x'), Step::OpensCommandFifo);
    client.resume();
    EXPECT_EQ(daemon.stop(), 0);
}

void putAnothersFifo(const std::string& path)
{
    ::mkfifo(path.c_str(), 0600);
    if (support::Accounts::hasOtherIds()) {
        ASSERT_EQ(::chown(path.c_str(), 4712, 4712), 0);
    }
}

/// What a client may have left in the directory while no daemon ran.
TEST_F(Distrust, ReplacesForeignFilesWithTheNamesOfItsLockFileAndFifos)
{
    const struct {
        const char* sentence;
        void (*put)(const std::string& path);
    } rows[] = {
        {"a symbolic link",
         [](const std::string& path) { fs::create_symlink("/etc/passwd", path); }},
        {"a FIFO", [](const std::string& path) { ::mkfifo(path.c_str(), 0600); }},
        {"a file", [](const std::string& path) { support::writeText(path, "text"); }},
        {"a socket", [](const std::string& path) { ::mknod(path.c_str(), S_IFSOCK | 0600, 0); }},
        {"another user's FIFO", putAnothersFifo},
        {"a directory", [](const std::string& path) { fs::create_directory(path); }},
        {"a directory that is not empty",
         [](const std::string& path) { support::writeText(path + "/sub/file", "text"); }},
        {"nothing", [](const std::string&) {}},
    };
    for (const char* suffix : {"lock", "in", "out"}) {
        for (const auto& row : rows) {
            SCOPED_TRACE(std::string(suffix) + " is " + row.sentence);
            daemon.stop();
            fs::remove_all(pipe("web", suffix));
            row.put(pipe("web", suffix));
            daemon.start();
            EXPECT_EQ(daemon_case::askStatus("web"), payload("running"));
        }
    }
    EXPECT_FALSE(fs::is_symlink("/etc/passwd"));
}

TEST_F(Distrust, RemovesADirectoryWithTheNameOfTheReplyFifo)
{
    support::writeText(pipe("web", "out") + "/sub/file", "text");
    const support::RunningDaemon::LogMark mark(daemon);
    daemon_case::askStatus("web");
    support::awaitGone(pipe("web", "out"));
    mark.await("web: a client ended within its call; its reply FIFO is removed");
    EXPECT_EQ(daemon_case::askStatus("web"), payload("running"));
}

} // namespace
