#include "unit/api/ImportCase.h"

#include "support/Accounts.h"
#include "support/CapturedErrors.h"

namespace
{

using service_case::externalStores;
using service_case::messageLine;
using service_case::messageStart;
using service_case::OstrelService;
using service_case::pem;
using service_case::testNameOf;

using Import = service_case::ImportCase;

INSTANTIATE_TEST_SUITE_P(Of, Import, testing::ValuesIn(externalStores), testNameOf);

struct TextRow {
    const char* sentence;
    std::string given;
    std::string arriving;
};

const TextRow textRows[] = {
    {"a certificate", pem("AA\n"), pem("AA\n") + "\n"},
    {"no line feed at the end", "AA", "AA\n"},
    {"an empty text", "", "\n"},
    {"carriage returns before line feeds are dropped", "A\r\nB\r\n\r\n", "A\nB\n\n\n"},
    {"one of two carriage returns before a line feed is dropped", "A\r\r\nB", "A\r\nB\n"},
    {"other carriage returns stay", "\rA\rB", "\rA\rB\n"},
    {"several certificates and text around", "x\n" + pem("AA\n") + "y\n" + pem("BB\n") + "z",
     "x\n" + pem("AA\n") + "y\n" + pem("BB\n") + "z\n"},
    {"a NUL", std::string("A\0\r\nB", 5), std::string("A\0\nB\n", 5)},
    {"much", std::string(1 << 20, 'x'), std::string(1 << 20, 'x') + "\n"},
};

TEST_P(Import, WritesTheTextWithUnixLineEndsAndOneMoreLineFeed)
{
    for (const TextRow& row : textRows) {
        SCOPED_TRACE(row.sentence);
        lookAndAnswer("0 7");
        EXPECT_EQ(add(row.given), "7");
        EXPECT_EQ(seen.text, row.arriving);
        expectNoFileLeft();
    }
}

TEST_P(Import, OfAFileWritesOneMoreLineFeed)
{
    const std::string path = device.storeDirectory() + "/given.pem";
    for (const TextRow& row : textRows) {
        SCOPED_TRACE(row.sentence);
        support::writeText(path, row.given);
        lookAndAnswer("0 7");
        EXPECT_EQ(addFile(path), "7");
        EXPECT_EQ(seen.text, row.arriving + "\n");
        EXPECT_EQ(support::readText(path), row.given);
        expectNoFileLeft();
    }
}

TEST_P(Import, TreatsACarriageReturnAtTheEndOfAFileAsALineEnd)
{
    lookAndAnswer("0 7");
    add("A\r");
    EXPECT_EQ(seen.text, "A\r\n");
    // Every line of a file gets its line feed before line ends are converted.
    const std::string path = device.storeDirectory() + "/given.pem";
    support::writeText(path, "A\r");
    lookAndAnswer("0 7");
    addFile(path);
    EXPECT_EQ(seen.text, "A\n\n");
}

TEST_P(Import, SendsOnlyThePathOfTheFile)
{
    for (int i = 0; i < 2; ++i) {
        lookAndAnswer("0 ");
        add(pem("AA\n"));
        EXPECT_EQ(peer.lastMessage(), addMessage(seen.path));
        EXPECT_TRUE(isTemporaryPath(seen.path)) << seen.path;
    }
    EXPECT_NE(peer.messages()[0], peer.messages()[1]) << "each file has a new name";
}

TEST_P(Import, CreatesTheFileForTheServicesGroupDespiteTheUmask)
{
    const support::Accounts accounts;
    const gid_t group = support::Accounts::foreignGroup();
    support::Accounts::setGroups("root:x:0:\nmanagers:x:" + std::to_string(group) + ":\n");
    device.addService("web", std::string("managmentGroup managers\n") + store.flag + " yes\n");
    OstrelService managed("web");
    for (const mode_t mask : {0U, 022U, 077U, 0777U}) {
        lookAndAnswer("0 ");
        const mode_t former = ::umask(mask);
        store.add(managed, pem("AA\n"));
        ::umask(former);
        EXPECT_EQ(seen.status.st_mode, S_IFREG | 0770U) << mask;
        EXPECT_EQ(seen.status.st_gid, group);
        EXPECT_EQ(seen.status.st_uid, ::geteuid());
    }
}

TEST_P(Import, ReturnsThePayloadUnchanged)
{
    const std::pair<const char*, const char*> rows[] = {
        {"0 7", "7"},
        {"0 ", ""},
        {"0", "0"},
        {"0  a b\n", " a b\n"},
    };
    for (const auto& row : rows) {
        peer.answer(row.first);
        EXPECT_EQ(add(pem("AA\n")), row.second);
    }
}

TEST_P(Import, TracesOnlyItsMessage)
{
    for (const bool isTraced : {true, false}) {
        const support::CapturedTrace trace(isTraced);
        peer.answer("0 7");
        EXPECT_EQ(add(pem("AA\n")), "7");
        EXPECT_EQ(trace.text(), isTraced ? messageLine(peer.lastMessage()) : "");
    }
}

TEST_P(Import, SucceedsEvenIfTheDaemonRemovedTheFile)
{
    for (const bool isTraced : {true, false}) {
        const support::CapturedTrace trace(isTraced);
        removeAndAnswer("0 7");
        EXPECT_EQ(add(pem("AA\n")), "7");
        // Intended: no blank after the colon.
        const std::string notRemoved =
            "Error: Failed to remove temporary file :" + seen.path + '\n';
        EXPECT_EQ(trace.text(), isTraced ? messageLine(peer.lastMessage()) + notRemoved : "");
    }
}

TEST_P(Import, LeavesNoDescriptorOpen)
{
    const auto attempt = [&] {
        peer.answer("0 7");
        add(pem("AA\n"));
        peer.answer("33 ");
        thrownByAdd(pem("AA\n"));
        peer.finish();
    };
    attempt();
    const std::size_t before = support::openDescriptorCount();
    attempt();
    EXPECT_EQ(support::openDescriptorCount(), before);
}

TEST_P(Import, DoesNotTouchTheStore)
{
    putList("");
    peer.answer("0 7");
    add(pem("AA\n"));
    EXPECT_EQ(support::readText(list), "");
    EXPECT_FALSE(std::filesystem::exists(certificates + "/7"));
}

struct TargetRow {
    int target;
    const char* words;
};

TEST_P(Import, AsAWorkerNeedsNoStoreAndUsesAnotherKeywordForTheServer)
{
    const TargetRow rows[] = {
        {0, "server\tapplycrt\t"}, {1, "ca\tadd\t"}, {2, "client\tadd\t"},
        {3, "config\tadd\t"},      {4, "\tadd\t"},
    };
    device.addService("web", "managmentGroup root\n");
    OstrelService bare("web");
    const std::string path = device.storeDirectory() + "/given.pem";
    support::writeText(path, pem("AA\n"));
    for (const TargetRow& row : rows) {
        const auto target = static_cast<ostrel::TypeTarget>(row.target);
        lookAndAnswer("0 by text");
        EXPECT_EQ(bare.addCertificate(target, pem("AA\n")), "by text");
        EXPECT_EQ(peer.lastMessage(), messageStart() + row.words + seen.path);
        lookAndAnswer("0 by file");
        EXPECT_EQ(bare.addCertificateFile(target, path), "by file");
        EXPECT_EQ(peer.lastMessage(), messageStart() + row.words + seen.path);
        EXPECT_TRUE(isTemporaryPath(seen.path)) << seen.path;
    }
    expectNoFileLeft();
}

} // namespace
