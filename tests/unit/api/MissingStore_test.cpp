#include "unit/api/ServiceCase.h"

#include "support/CapturedErrors.h"
#include "support/FileWatch.h"

#include <functional>
#include <memory>

namespace
{

using service_case::ExternalStore;
using service_case::externalStores;
using service_case::OstrelService;
using service_case::pem;
using service_case::testNameOf;
using support::apiError;
using support::thrownBy;

struct Operation {
    const char* sentence;
    std::function<void(OstrelService&)> call;
};

std::vector<Operation> operationsOn(const ExternalStore& store, const std::string& file)
{
    return {
        {"get", [=](OstrelService& web) { (web.*store.get)("7"); }},
        {"list", [=](OstrelService& web) { (web.*store.list)(); }},
        {"list by CN", [=](OstrelService& web) { (web.*store.listByCN)("Root"); }},
        {"directory", [=](OstrelService& web) { (web.*store.directory)(); }},
        {"id of a text", [=](OstrelService& web) { (web.*store.idOfText)(pem("AA\n")); }},
        {"id of a file", [=](OstrelService& web) { (web.*store.idOfFile)(file); }},
        {"revoke one", [=](OstrelService& web) { (web.*store.revoke)("7"); }},
        {"revoke several",
         [=](OstrelService& web) {
             (web.*store.revokeAll)({"7", "8"});
         }},
        {"revoke none", [=](OstrelService& web) { (web.*store.revokeAll)({}); }},
        {"add a text", [=](OstrelService& web) { (web.*store.add)(pem("AA\n")); }},
        {"add a file", [=](OstrelService& web) { (web.*store.addFile)(file); }},
    };
}

/// A service whose files of both stores are there, and whose daemon's pipes
/// are, but whose configuration gives it one store at the most.
class MissingStore : public service_case::ExternalStoreCase
{
protected:
    MissingStore()
    {
        putList("7\n");
        put("7", pem("AA\n"));
        putMap("7 Root\n");
        support::writeText(file, pem("AA\n"));
    }

    std::unique_ptr<OstrelService> serviceWith(const std::string& flags) const
    {
        device.addService("web", "managmentGroup root\n" + flags);
        return std::make_unique<OstrelService>("web");
    }

    const ExternalStore& other = externalStores[store.target == ostrel::TargetCA ? 1 : 0];
    const std::string file = device.storeDirectory() + "/given.pem";
    const std::vector<Operation> operations = operationsOn(store, file);
    support::ScriptedPeer peer{device, "web"};
    const support::CapturedTrace trace;
};

INSTANTIATE_TEST_SUITE_P(Of, MissingStore, testing::ValuesIn(externalStores), testNameOf);

TEST_P(MissingStore, IsErrorSevenBeforeAnyFileOrPipeIsTouched)
{
    const auto without = serviceWith(std::string(other.flag) + " yes\nserver yes\ncnfFile /c\n");
    const support::FileWatch watch({pipes, pipes + '/' + store.word, certificates,
                                    certificates + "/.cacheddata", device.storeDirectory()});
    for (const Operation& operation : operations) {
        SCOPED_TRACE(operation.sentence);
        EXPECT_EQ(thrownBy([&] { operation.call(*without); }),
                  "ostrelApi::OstrelApiException: Error -1: Generic exception "
                  "(7 - This target doesn't exist for this service)");
        EXPECT_EQ(watch.touched(), std::set<std::string>());
    }
    EXPECT_EQ(trace.text(), "");
    EXPECT_TRUE(peer.messages().empty());
}

TEST_P(MissingStore, LeavesTheOtherStoreAsItIs)
{
    const auto without = serviceWith(std::string(other.flag) + " yes\n");
    EXPECT_EQ((*without.*other.directory)(), device.storeDirectory() + "/web/" + other.word + '/');
    EXPECT_EQ(thrownBy([&] { (*without.*store.directory)(); }), apiError(7));
}

// Proves that the watch above sees what an operation does.
TEST_P(MissingStore, OnceItIsThereIsTouchedByEveryOperationButTheDirectory)
{
    const auto with = serviceWith(std::string(store.flag) + " yes\n");
    const support::FileWatch watch({pipes, pipes + '/' + store.word, certificates,
                                    certificates + "/.cacheddata", device.storeDirectory()});
    for (const Operation& operation : operations) {
        SCOPED_TRACE(operation.sentence);
        // What asks the daemon gets to its lock, and no further.
        std::filesystem::remove(peer.inPath());
        watch.touched();
        EXPECT_NE(thrownBy([&] { operation.call(*with); }), apiError(7));
        EXPECT_EQ(watch.touched().empty(), std::string("directory") == operation.sentence);
    }
}

} // namespace
