// The store files of docs/FILES.md, read and written by the library.

#include "support/Device.h"
#include "support/Document.h"
#include "support/TextFiles.h"
#include "tools/Descriptor.h"

#include <ostrel/CertificateIdCnMap.h>
#include <ostrel/CertificateIdList.h>
#include <ostrel/CertificateInfo.h>
#include <ostrel/InternalCertificatesAccessor.h>
#include <ostrelApi/OstrelService.h>

#include <gtest/gtest.h>

#include <sys/stat.h>

namespace
{

using ostrelApi::OstrelService;
using support::Document;

constexpr char firstId[] = "5a1f09c2d7e4b683";
constexpr char secondId[] = "9b20c4d1e8f7a356";

/// Writes an example of the document to a file.
class FilesStore : public testing::Test
{
protected:
    static const Document& files()
    {
        static const Document document = support::readDocument("FILES.md");
        return document;
    }

    std::string put(const std::string& example) const
    {
        support::writeText(path, files().bytes(example));
        return path;
    }

    void expectWritten(const std::string& example) const
    {
        const std::string text = support::readText(path);
        EXPECT_EQ(text, files().bytes(example)) << support::dumpOf(text);
    }

    const support::TemporaryDirectory directory;
    const std::string path = directory / "file";
};

TEST_F(FilesStore, ReadsAndWritesTheListOfTheExample)
{
    const std::vector<std::string> ids = {firstId, secondId};
    EXPECT_EQ(ostrel::CertificateIdList(put("list.txt")).toArray(), ids);
    ostrel::CertificateIdList(std::vector<std::string>{secondId, firstId, secondId})
        .writeIntoFile(path, true);
    expectWritten("list.txt");
}

TEST_F(FilesStore, ReadsAndWritesTheMapOfTheExample)
{
    const std::map<std::string, std::string> names = {{firstId, "My Root CA"},
                                                      {secondId, "web.example"}};
    EXPECT_EQ(ostrel::CertificateIdCnMap(put("id_cn.map")).entries(), names);
    ostrel::CertificateIdCnMap map;
    map.entries() = names;
    map.writeIntoFile(path, true);
    expectWritten("id_cn.map");
}

TEST_F(FilesStore, ReadsTheInfoOfTheExample)
{
    const std::map<std::string, std::string> expected = {
        {"issuedBy", "CN = My Root CA"},
        {"issuedTo", "CN = web.example"},
        {"CA", "no"},
        {"CASigned", "yes"},
        {"selfSigned", "no"},
        {"validFrom", "1577836800"},
        {"validUntil", "2208988800"},
        {"IP.1", "192.0.2.1"},
        {"DNS.1", "web.example"},
    };
    EXPECT_EQ(ostrel::CertificateInfo(put("info")).getMap(), expected);
}

TEST_F(FilesStore, RequiresEveryMemberOfAnInfo)
{
    const std::string info = files().bytes("info");
    for (const Document::Row& row : files().table("info members")) {
        std::string without = info;
        const std::size_t at = without.find('"' + row[0] + '"');
        ASSERT_NE(at, std::string::npos) << row[0] << " is not in the example";
        without.replace(at + 1, row[0].size(), "other");
        support::writeText(path, without);
        EXPECT_THROW(ostrel::CertificateInfo{path}, std::runtime_error) << row[0];
    }
}

TEST_F(FilesStore, ReturnsTheDetailsWithOneAdditionalLineFeed)
{
    EXPECT_EQ(OstrelService::getCertificateDetails(put("detail")), files().bytes("detail") + '\n');
}

TEST_F(FilesStore, ReadsAndWritesTheOverridesOfTheExample)
{
    const std::map<std::string, std::string> values = {{"alias", "Lobby, 2nd floor"},
                                                       {"max-age_2", "30"}};
    EXPECT_EQ(ostrelApi::OverwrittenData(put("overwrite")).getMap(), values);
    const std::string other = directory / "other";
    ostrelApi::OverwrittenData data(other);
    for (const auto& [key, value] : values) {
        data.setData(key, value);
    }
    data.write();
    EXPECT_EQ(support::readText(other), files().bytes("overwrite"));
}

TEST_F(FilesStore, ReadsTheActiveIdOfTheExample)
{
    const support::Device device;
    const ostrel::InternalCertificatesAccessor paths("web", "server");
    support::writeText(paths.activePath(), files().bytes("active.txt"));
    EXPECT_EQ(paths.getActive(), secondId);
}

TEST_F(FilesStore, SendsTheNotificationsOfTheExampleAndTheTable)
{
    const support::Device device;
    const std::string fifo = device.pipesDirectory() + "/notification.signal";
    ASSERT_EQ(::mkfifo(fifo.c_str(), 0620), 0);
    const auto reader = ostrel::Descriptor::open(fifo, O_RDONLY | O_NONBLOCK);
    OstrelService::notifyNetwork();
    OstrelService::notifyTime();
    char bytes[4] = "";
    ASSERT_EQ(::read(reader.get(), bytes, sizeof bytes), 2);
    EXPECT_EQ(std::string(bytes, 1), files().bytes("notification"));
    const auto table = support::readDocument("PROTOCOL.md").table("notifications");
    ASSERT_EQ(table.size(), 2U);
    EXPECT_EQ(table[0], (Document::Row{std::string(1, bytes[0]), "notifyNetwork", table[0][2]}));
    EXPECT_EQ(table[1], (Document::Row{std::string(1, bytes[1]), "notifyTime", table[1][2]}));
}

} // namespace
