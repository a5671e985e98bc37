#include "integration/DaemonCase.h"
#include "integration/StoreOnDisk.h"

#include <filesystem>
#include <functional>

namespace
{

namespace fs = std::filesystem;
using daemon_case::StoreOnDisk;
using support::TestCertificate;

/// What an interrupted change left of a store with two certificates, and how
/// many certificates the next start keeps.
struct Row {
    const char* sentence;
    std::function<void(const StoreOnDisk& files, const std::string& id)> leave;
    std::size_t left;
};

void PrintTo(const Row& row, std::ostream* out)
{
    *out << row.sentence;
}

void unlist(const StoreOnDisk& files, const std::string& id)
{
    std::string text = support::readText(files.listPath());
    text.erase(text.find(id), id.size() + 1);
    support::writeText(files.listPath(), text);
}

const Row rows[] = {
    {"nothing is missing", [](const StoreOnDisk&, const std::string&) {}, 2},
    {"a certificate that is not listed yet",
     [](const StoreOnDisk& files, const std::string&) {
         const std::string text = TestCertificate().pem();
         support::writeText(files.certPath(support::fingerprintId(text)), text);
     },
     2},
    {"a certificate that is not listed yet, with all its volatile files",
     [](const StoreOnDisk& files, const std::string& id) {
         const std::string text = TestCertificate().pem();
         const std::string other = support::fingerprintId(text);
         support::writeText(files.certPath(other), text);
         fs::copy(files.certInfoPath(id), files.certInfoPath(other));
         fs::copy(files.certDetailsPath(id), files.certDetailsPath(other));
         support::writeText(files.cnMapPath(),
                            support::readText(files.cnMapPath()) + other + " Test CA\n");
     },
     2},
    {"a certificate that is no longer listed", unlist, 1},
    {"a certificate that is no longer listed, with half of its files",
     [](const StoreOnDisk& files, const std::string& id) {
         unlist(files, id);
         fs::remove(files.certPath(id));
         fs::remove(files.certInfoPath(id));
     },
     1},
    {"a listed certificate whose file is missing",
     [](const StoreOnDisk& files, const std::string& id) { fs::remove(files.certPath(id)); }, 1},
    {"overrides of a missing certificate",
     [](const StoreOnDisk& files, const std::string& id) {
         fs::rename(files.certOverwrittenDataPath(id), files.certOverwrittenDataPath("0123"));
     },
     2},
    {"a missing list",
     [](const StoreOnDisk& files, const std::string&) { fs::remove(files.listPath()); }, 2},
    {"an empty list",
     [](const StoreOnDisk& files, const std::string&) { support::writeText(files.listPath(), ""); },
     2},
    {"a list of empty lines",
     [](const StoreOnDisk& files, const std::string&) {
         support::writeText(files.listPath(), "\n");
     },
     0},
    {"half of a persistent file",
     [](const StoreOnDisk& files, const std::string&) {
         support::writeText(files.cachedDirectoryPath() + "/.new", "-----BEGIN CERTIFI");
     },
     2},
    {"half of a volatile file",
     [](const StoreOnDisk& files, const std::string&) {
         support::writeText(files.tmpDirectoryPath() + "/.new", "{\"data_struc");
     },
     2},
    {"no volatile files",
     [](const StoreOnDisk& files, const std::string&) { fs::remove_all(files.tmpDirectoryPath()); },
     2},
    {"no pipe directory",
     [](const StoreOnDisk& files, const std::string&) {
         fs::remove_all(fs::path(files.tmpDirectoryPath()).parent_path());
     },
     2},
    {"no info",
     [](const StoreOnDisk& files, const std::string& id) { fs::remove(files.certInfoPath(id)); },
     2},
    {"no details",
     [](const StoreOnDisk& files, const std::string& id) { fs::remove(files.certDetailsPath(id)); },
     2},
    {"no map", [](const StoreOnDisk& files, const std::string&) { fs::remove(files.cnMapPath()); },
     2},
    {"a map that lacks one of the names",
     [](const StoreOnDisk& files, const std::string& id) {
         support::writeText(files.cnMapPath(), id + " Another name\n");
     },
     2},
    {"volatile files cut short",
     [](const StoreOnDisk& files, const std::string& id) {
         for (const std::string& path :
              {files.certInfoPath(id), files.certDetailsPath(id), files.cnMapPath()}) {
             fs::resize_file(path, 5);
         }
     },
     2},
    {"volatile files of a certificate that does not exist",
     [](const StoreOnDisk& files, const std::string&) {
         support::writeText(files.certInfoPath("0123"), "{}");
         support::writeText(files.certDetailsPath("0123"), "");
     },
     2},
};

class Interrupted : public daemon_case::WithDaemon, public testing::WithParamInterface<Row>
{
protected:
    Interrupted()
    {
        for (int i = 0; i < 2; ++i) {
            service.addCA(TestCertificate().pem());
            service.addTrustedClient(TestCertificate().pem());
        }
        for (const StoreOnDisk* files : {&cas, &clients}) {
            const bool isCA = files == &cas;
            daemon_case::ask("web", isCA ? ostrel::TargetCA : ostrel::TargetClient,
                             ostrel::CommandSetOverwrittenData,
                             {files->ids()[0], "alias", "Lobby"});
        }
    }

    ostrelApi::OstrelService service{"web"};
    const StoreOnDisk cas{"web", "ca"};
    const StoreOnDisk clients{"web", "client"};
};

TEST_P(Interrupted, ChangeIsCompletedOrUndoneAtTheNextStart)
{
    daemon.kill();
    for (const StoreOnDisk* files : {&cas, &clients}) {
        GetParam().leave(*files, files->ids()[0]);
    }
    daemon.start();
    for (const StoreOnDisk* files : {&cas, &clients}) {
        EXPECT_EQ(files->fault(), "");
        EXPECT_EQ(files->ids().size(), GetParam().left);
    }
}

TEST_P(Interrupted, ChangeDoesNotAffectLaterChanges)
{
    daemon.kill();
    GetParam().leave(cas, cas.ids()[0]);
    daemon.start();
    const std::string text = TestCertificate().pem();
    const std::string id = service.addCA(text);
    EXPECT_EQ(service.getCA(id), text);
    service.revokeCA(id);
    EXPECT_EQ(cas.fault(), "");
    EXPECT_EQ(cas.ids().size(), GetParam().left);
}

INSTANTIATE_TEST_SUITE_P(By, Interrupted, testing::ValuesIn(rows),
                         [](const auto& row) { return "Leaving" + std::to_string(row.index); });

TEST_F(Interrupted, ChangeThatLeftNothingKeepsTheOverrides)
{
    daemon.restart();
    EXPECT_EQ(support::readText(cas.certOverwrittenDataPath(cas.ids()[0])), "alias Lobby\n");
}

// A file that cannot be read now may be readable later.
TEST_F(Interrupted, ChangeIsNotAssumedForADamagedCertificate)
{
    const std::string id = cas.ids()[0];
    daemon.kill();
    support::writeText(cas.certPath(id), "damaged");
    daemon.start();
    EXPECT_EQ(cas.ids().size(), 2U);
    EXPECT_EQ(support::readText(cas.certPath(id)), "damaged");
    service.revokeCA(id);
    EXPECT_EQ(cas.fault(), "");
}

TEST_F(Interrupted, ChangeIsNotAssumedForAnUnreadableList)
{
    const std::string certificate = cas.certPath(cas.ids()[0]);
    daemon.stop();
    fs::rename(cas.listPath(), cas.listPath() + "~");
    fs::create_directory(cas.listPath());
    daemon.start();
    EXPECT_EQ(daemon_case::askStatus("web"), daemon_case::refusal(11));
    EXPECT_TRUE(fs::exists(certificate));
    fs::remove(cas.listPath());
    fs::rename(cas.listPath() + "~", cas.listPath());
    daemon.reload("web: served");
    EXPECT_EQ(cas.fault(), "");
    EXPECT_EQ(cas.ids().size(), 2U);
}

} // namespace
