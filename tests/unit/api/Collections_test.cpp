#include "unit/api/ServiceCase.h"

#include "support/CapturedErrors.h"

#include <thread>

namespace
{

namespace fs = std::filesystem;
using service_case::externalStores;
using service_case::Ids;
using service_case::OstrelService;
using service_case::pem;
using service_case::testNameOf;
using support::apiError;
using support::thrownBy;

/// Queries that read a store without the daemon, which does not run here.
class Collection : public service_case::ExternalStoreCase
{
protected:
    std::string get(const std::string& id) { return store.get(web, id); }
    Ids ids() { return store.list(web); }
    Ids idsByCN(const std::string& cn) { return store.listByCN(web, cn); }

    std::string thrownByGet(const std::string& id)
    {
        return thrownBy([&] { get(id); });
    }
};

INSTANTIATE_TEST_SUITE_P(Of, Collection, testing::ValuesIn(externalStores), testNameOf);

struct TextRow {
    const char* sentence;
    std::string text;
    std::string expected;
};

TEST_P(Collection, ReturnsOnlyTheFirstCertificateOfAFile)
{
    const TextRow rows[] = {
        {"one certificate", pem("AA\n"), pem("AA\n")},
        {"two certificates", pem("AA\n") + pem("BB\n"), pem("AA\n")},
        {"text around it", "text\n" + pem("AA\n") + "more\n", pem("AA\n")},
        {"no line feed at the end", "x\n-----BEGIN CERTIFICATE-----\n-----END CERTIFICATE-----",
         pem("")},
        {"no END line", "-----BEGIN CERTIFICATE-----\nAA\n", "-----BEGIN CERTIFICATE-----\nAA\n\n"},
        {"a BEGIN line with a blank after it", "-----BEGIN CERTIFICATE----- \nAA\nlast", "last\n"},
        {"carriage returns, which hide the BEGIN line", "-----BEGIN CERTIFICATE-----\r\nAA\r\n",
         "\n"},
        {"no certificate", "text\nlast", "last\n"},
        {"no certificate, and a line feed at the end", "text\nlast\n", "\n"},
        {"an empty file", "", "\n"},
        {"a NUL in the certificate", pem(std::string("A\0A\n", 4)), pem(std::string("A\0A\n", 4))},
    };
    for (const TextRow& row : rows) {
        put("7", row.text);
        EXPECT_EQ(get("7"), row.expected) << row.sentence;
    }
}

TEST_P(Collection, ReadsAnIdAsAPathBelowTheStore)
{
    put("sub/7.crt", pem("AA\n"));
    EXPECT_EQ(get("sub/7.crt"), pem("AA\n"));
    EXPECT_EQ(get("../" + std::string(store.word) + "/sub/7.crt"), pem("AA\n"));
}

TEST_P(Collection, HasNoCertificateWhenTheFileCannotBeRead)
{
    const std::string expected = "ostrelApi::CallError: " + std::string(store.badCertificateText);
    EXPECT_EQ(thrownByGet("7"), expected) << "missing store";
    putList("");
    support::makeUnopenable(certificates + "/unopenable");
    fs::create_symlink("nowhere", certificates + "/broken");
    EXPECT_EQ(thrownByGet("7"), expected) << "missing file";
    EXPECT_EQ(thrownByGet("unopenable"), expected) << "file that cannot be opened";
    EXPECT_EQ(thrownByGet("broken"), expected) << "dangling link";
    EXPECT_EQ(thrownByGet(""), expected) << "the directory of the store";
    EXPECT_EQ(thrownByGet(".cacheddata"), expected) << "a directory in the store";
    EXPECT_EQ(expected, apiError(store.badCertificate));
}

struct ListRow {
    const char* sentence;
    const char* list;
    Ids expected;
};

TEST_P(Collection, ReturnsEachIdOnceInAscendingOrder)
{
    const ListRow rows[] = {
        {"an empty list", "", {}},
        {"one id", "7\n", {"7"}},
        {"several ids, out of order and one of them twice", "10\n9\n9\n1", {"1", "10", "9"}},
        {"empty lines", "\n\nb\n\na\n\n", {"a", "b"}},
        {"blanks and carriage returns belong to an id", " a\na \na\r\na", {" a", "a", "a\r", "a "}},
    };
    for (const ListRow& row : rows) {
        putList(row.list);
        EXPECT_EQ(ids(), row.expected) << row.sentence;
    }
}

struct CnRow {
    const char* sentence;
    std::string map;
    std::string cn;
    Ids expected;
};

TEST_P(Collection, FindsIdsByAnExactMatchOfTheCommonName)
{
    const CnRow rows[] = {
        {"one of several names", "1 Root\n2 Other\n", "Root", {"1"}},
        {"all ids with the name, in ascending order",
         "9 Root\n10 Root\n1 Other\n",
         "Root",
         {"10", "9"}},
        {"blanks within the name", "1 My Root CA\n", "My Root CA", {"1"}},
        {"no match", "1 Root\n", "Leaf", {}},
        {"a name that differs in case", "1 Root\n", "root", {}},
        {"a prefix of the name", "1 Root\n", "Roo", {}},
        {"a longer name", "1 Root\n", "Root CA", {}},
        {"a NUL after the name", "1 Root\n", std::string("Root\0", 5), {}},
        {"blanks before the name in the file are dropped", "1   Root\n", "Root", {"1"}},
        {"a blank before the requested name", "1  Root\n", " Root", {}},
        {"a blank after the name in the file", "1 Root \n", "Root", {}},
        {"a blank after both names", "1 Root \n", "Root ", {"1"}},
        {"a carriage return after the name in the file", "1 Root\r\n", "Root", {}},
        {"the first of two lines with one id counts", "1 Root\n1 Other\n", "Other", {}},
        {"a line without a blank is skipped", "Root\n1 Root\n", "Root", {"1"}},
        {"no name", "1 \n2 Root\n", "", {"1"}},
        {"no id", " Root\n", "Root", {""}},
        {"an empty map", "", "Root", {}},
    };
    for (const CnRow& row : rows) {
        putMap(row.map);
        EXPECT_EQ(idsByCN(row.cn), row.expected) << row.sentence;
    }
}

TEST_P(Collection, CannotBeListedWithoutItsListOrSearchedWithoutItsMap)
{
    const auto expectFailures = [&] {
        EXPECT_EQ(thrownBy([&] { ids(); }), apiError(1));
        EXPECT_EQ(thrownBy([&] { idsByCN("Root"); }), apiError(1));
    };
    expectFailures();
    support::makeUnopenable(list);
    support::makeUnopenable(map);
    expectFailures();
    EXPECT_EQ(apiError(1), "ostrelApi::CallError: Error -1: Generic exception (1 - Action Failed)");
}

TEST_P(Collection, NamesTheListThatItCannotOpenAndTheSystemsText)
{
    const ostrelApi::CallError error = support::callErrorOf([&] { ids(); });
    EXPECT_EQ(error.getReason(), "cannot open " + list + ": No such file or directory");
    EXPECT_EQ(error.getSystemError(), ENOENT);
}

TEST_P(Collection, IsEmptyWhenItsListAndItsMapAreDirectories)
{
    fs::create_directories(list);
    fs::create_directories(map);
    EXPECT_EQ(ids(), Ids());
    EXPECT_EQ(idsByCN("Root"), Ids());
}

TEST_P(Collection, ReturnsItsDirectoryEvenIfItDoesNotExist)
{
    EXPECT_EQ(store.directory(web), device.storeDirectory() + "/web/" + store.word + '/');
    EXPECT_FALSE(fs::exists(certificates));
}

TEST_P(Collection, IsReadAgainByEachCall)
{
    putList("1\n");
    put("1", pem("AA\n"));
    EXPECT_EQ(ids(), Ids{"1"});
    EXPECT_EQ(get("1"), pem("AA\n"));
    putList("2\n");
    put("1", pem("BB\n"));
    EXPECT_EQ(ids(), Ids{"2"});
    EXPECT_EQ(get("1"), pem("BB\n"));
}

TEST_P(Collection, CanBeReadByThreadsInParallel)
{
    putList("1\n2\n");
    putMap("1 Root\n2 Root\n");
    put("1", pem("AA\n"));
    put("2", pem("BB\n"));
    const auto ask = [&] {
        for (int i = 0; i < 50; ++i) {
            EXPECT_EQ(ids(), (Ids{"1", "2"}));
            EXPECT_EQ(idsByCN("Root"), (Ids{"1", "2"}));
            EXPECT_EQ(get("2"), pem("BB\n"));
            EXPECT_EQ(store.idOfText(web, pem("BB\n")), "2");
            EXPECT_EQ(thrownByGet("3"), apiError(store.badCertificate));
            EXPECT_EQ(web.maxCA(), 0);
        }
    };
    std::thread other(ask);
    ask();
    other.join();
    EXPECT_EQ(pipeFiles(), std::set<std::string>{store.word}) << "no temporary file is left";
}

TEST_P(Collection, LeavesNoDescriptorOpenAndTracesNothing)
{
    putList("1\n2\n");
    put("1", pem("AA\n"));
    const support::CapturedTrace trace;
    const std::size_t before = support::openDescriptorCount();
    ids();
    get("1");
    thrownByGet("2");
    thrownByGet("");
    thrownBy([&] { idsByCN("Root"); });
    store.idOfText(web, pem("AA\n"));
    EXPECT_EQ(support::openDescriptorCount(), before);
    EXPECT_EQ(trace.text(), "");
}

/// The workers that the queries of all stores share.
class CollectionWorker : public service_case::ServiceCase
{
protected:
    OstrelService bare = bareService();

private:
    /// The workers do not require a store.
    OstrelService bareService() const
    {
        device.addService("bare", "");
        return OstrelService("bare");
    }
};

struct TargetRow {
    int target;
    int code;
    const char* text;
};

TEST_F(CollectionWorker, ReadsAnyFileAndThrowsTheReturnCodeOfTheTarget)
{
    const TargetRow rows[] = {
        {0, 20, "Error -1: Generic exception (20 - The server certificate doesn't exist)"},
        {1, 30, "Error -1: Generic exception (30 - Bad CA)"},
        {2, 40, "Error -1: Generic exception (40 - Bad certificate for trusted client)"},
        {3, 1, "Error -1: Generic exception (1 - Action Failed)"},
        {4, 1, "Error -1: Generic exception (1 - Action Failed)"},
        {5, 1, "Error -1: Generic exception (1 - Action Failed)"},
        {-1, 1, "Error -1: Generic exception (1 - Action Failed)"},
    };
    const std::string path = device.storeDirectory() + "/any.pem";
    support::writeText(path, "x\n" + pem("AA\n"));
    for (const TargetRow& row : rows) {
        SCOPED_TRACE(row.target);
        const auto target = static_cast<ostrel::TypeTarget>(row.target);
        EXPECT_EQ(bare.getCertificate(target, path), pem("AA\n"));
        for (const std::string& missing :
             {path + ".gone", device.storeDirectory(), std::string()}) {
            EXPECT_EQ(thrownBy([&] { bare.getCertificate(target, missing); }),
                      std::string("ostrelApi::CallError: ") + row.text);
        }
        EXPECT_EQ(apiError(row.code), std::string("ostrelApi::CallError: ") + row.text);
    }
}

TEST_F(CollectionWorker, ReadsAnyListAndAnyMap)
{
    const std::string path = device.storeDirectory() + "/any.txt";
    support::writeText(path, "9 Root\n10 Root\n");
    EXPECT_EQ(bare.getList(path), (Ids{"10 Root", "9 Root"}));
    EXPECT_EQ(bare.getListByCN(path, "Root"), (Ids{"10", "9"}));
    EXPECT_EQ(thrownBy([&] { bare.getList(path + ".gone"); }), apiError(1));
    EXPECT_EQ(thrownBy([&] { bare.getListByCN(path + ".gone", "Root"); }), apiError(1));
}

} // namespace
