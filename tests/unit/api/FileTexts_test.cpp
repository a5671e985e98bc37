// The files of a store that the library returns as text, line by line.

#include "unit/api/StockedService.h"

#include "support/CapturedErrors.h"

#include <functional>

#include <sys/stat.h>

namespace
{

namespace fs = std::filesystem;
using service_case::OstrelService;
using service_case::StockedService;
using support::apiError;
using support::thrownBy;

struct Reader {
    const char* sentence;
    std::string path;
    std::function<std::string()> read;
    /// Thrown when the file cannot be opened.
    int returnCode;
};

class FileTexts : public StockedService
{
protected:
    OstrelService web{"web"};

    const std::vector<Reader> readers = {
        {"the signing request", csr, [this] { return web.getServerCsr(); }, 21},
        {"the active key", kept("server", "1.key"), [this] { return web.getServerKey(""); }, 1},
        {"a key", kept("server", "2.key"), [this] { return web.getServerKey("2"); }, 1},
        {"the details of the active server certificate", volatileFile("server", "1.detail"),
         [this] { return web.getServerCertificateDetails(""); }, 1},
        {"the details of a server certificate", volatileFile("server", "2.detail"),
         [this] { return web.getServerCertificateDetails("2"); }, 1},
        {"the details of a CA", volatileFile("ca", "2.detail"),
         [this] { return web.getCADetails("2"); }, 1},
        {"the details of a trusted client", volatileFile("client", "2.detail"),
         [this] { return web.getTrustedClientDetails("2"); }, 1},
        {"any file", newFile, [this] { return OstrelService::getCertificateDetails(newFile); }, 1},
    };
};

struct TextRow {
    const char* sentence;
    std::string text;
    std::string expected;
};

// Intended: every line gets a line feed, even the empty line after the last
// one.
TEST_F(FileTexts, EndEachLineAndTheEmptyLineAfterTheLast)
{
    const TextRow rows[] = {
        {"an empty file", "", "\n"},
        {"only a line feed", "\n", "\n\n"},
        {"a line without an end", "a", "a\n"},
        {"a line", "a\n", "a\n\n"},
        {"two lines", "a\nb\n", "a\nb\n\n"},
        {"two lines, the second without an end", "a\nb", "a\nb\n"},
        {"empty lines", "\n\na\n\n", "\n\na\n\n\n"},
        {"carriage returns", "a\r\nb\r", "a\r\nb\r\n"},
        {"a NUL", std::string("a\0b\n", 4), std::string("a\0b\n\n", 5)},
        {"bytes that are not text", "\xff\xfe\x80", "\xff\xfe\x80\n"},
        {"a page", std::string(4096, 'x'), std::string(4096, 'x') + '\n'},
        {"many pages", std::string(300000, 'x') + "\ny", std::string(300000, 'x') + "\ny\n"},
    };
    for (const Reader& reader : readers) {
        for (const TextRow& row : rows) {
            support::writeText(reader.path, row.text);
            EXPECT_EQ(reader.read(), row.expected) << reader.sentence << ": " << row.sentence;
        }
    }
}

struct UnopenableRow {
    const char* sentence;
    void (*put)(const std::string& path);
};

TEST_F(FileTexts, AreErrorsWhenTheirFilesCannotBeOpened)
{
    const UnopenableRow rows[] = {
        {"missing", [](const std::string& /*path*/) {}},
        {"a dangling link", [](const std::string& path) { fs::create_symlink("nothing", path); }},
        {"a link to itself", [](const std::string& path) { fs::create_symlink(path, path); }},
        {"a socket",
         [](const std::string& path) { ASSERT_EQ(::mknod(path.c_str(), S_IFSOCK | 0600, 0), 0); }},
    };
    const std::size_t descriptorsBefore = support::openDescriptorCount();
    for (const Reader& reader : readers) {
        for (const UnopenableRow& row : rows) {
            fs::remove(reader.path);
            row.put(reader.path);
            EXPECT_EQ(thrownBy(reader.read), apiError(reader.returnCode))
                << reader.sentence << ": " << row.sentence;
        }
    }
    EXPECT_EQ(support::openDescriptorCount(), descriptorsBefore);
}

// A directory can be opened but not read, so it has no first line.
TEST_F(FileTexts, OfADirectoryAreOneEmptyLine)
{
    for (const Reader& reader : readers) {
        fs::remove(reader.path);
        fs::create_directory(reader.path);
        EXPECT_EQ(reader.read(), "\n") << reader.sentence;
    }
}

TEST_F(FileTexts, AreReadAgainByEachCall)
{
    for (const Reader& reader : readers) {
        for (const char* text : {"before", "after"}) {
            support::writeText(reader.path, text);
            EXPECT_EQ(reader.read(), text + std::string("\n")) << reader.sentence;
        }
    }
}

TEST_F(FileTexts, AreNeverTraced)
{
    const support::CapturedTrace trace;
    for (const Reader& reader : readers) {
        reader.read();
        fs::remove(reader.path);
        thrownBy(reader.read);
    }
    EXPECT_EQ(trace.text(), "");
}

} // namespace
