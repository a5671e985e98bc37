// Every operation on a store that the service lacks fails before it does
// anything.

#include "unit/api/StockedService.h"

#include "support/FileWatch.h"

#include <algorithm>

namespace
{

using service_case::Does;
using service_case::On;
using service_case::Operation;
using service_case::operations;
using service_case::OstrelService;
using service_case::StockedService;
using support::apiError;
using support::thrownBy;

struct StoreRow {
    const char* testName;
    On store;
    /// The service's configuration with all stores except that one.
    const char* configuration;
    std::ptrdiff_t operations;
};

const StoreRow storeRows[] = {
    {"Server", On::Server, "managmentGroup root\nca yes\ntrustedClients yes\n", 18},
    {"CA", On::CA, "managmentGroup root\nserver yes\ncnfFile /unused\ntrustedClients yes\n", 15},
    {"TrustedClient", On::TrustedClient,
     "managmentGroup root\nserver yes\ncnfFile /unused\nca yes\n", 14},
};

void PrintTo(const StoreRow& row, std::ostream* out)
{
    *out << row.testName;
}

/// Every directory that the service's operations use.
std::set<std::string> directoriesBelow(const std::set<std::string>& roots)
{
    std::set<std::string> all = roots;
    for (const std::string& root : roots) {
        for (const auto& entry : std::filesystem::recursive_directory_iterator(root)) {
            if (entry.is_directory()) {
                all.insert(entry.path());
            }
        }
    }
    return all;
}

class Store : public StockedService, public testing::WithParamInterface<StoreRow>
{
protected:
    support::FileWatch watchEverything() const
    {
        return support::FileWatch(
            directoriesBelow({device.storeDirectory(), device.pipesDirectory(), scratch.path()}));
    }

    /// What `operation` throws with an empty argument, and with a valid one.
    std::vector<std::string> thrownBoth(const Operation& operation, OstrelService& service) const
    {
        std::vector<std::string> thrown;
        for (const std::string& argument : {std::string(), argumentOf(operation)}) {
            thrown.push_back(thrownBy([&] { operation.call(service, argument); }));
        }
        return thrown;
    }

    const std::vector<std::string> refused = {apiError(7), apiError(7)};
};

class MissingStore : public Store
{
protected:
    MissingStore() { device.addService("web", GetParam().configuration); }
};

TEST_P(MissingStore, EndsEachOfItsOperationsBeforeTheyTouchAFileOrAPipe)
{
    OstrelService web("web");
    const support::FileWatch watch = watchEverything();
    for (const Operation& operation : operations()) {
        if (operation.on == GetParam().store) {
            EXPECT_EQ(thrownBoth(operation, web), refused) << operation.name;
            EXPECT_EQ(watch.touched(), std::set<std::string>()) << operation.name;
        }
    }
}

TEST_P(MissingStore, DoesNotAffectTheOperationsOnOtherStores)
{
    OstrelService web("web");
    for (const Operation& operation : operations()) {
        if (operation.on != GetParam().store) {
            const std::vector<std::string> thrown = thrownBoth(operation, web);
            EXPECT_EQ(std::count(thrown.begin(), thrown.end(), apiError(7)), 0) << operation.name;
        }
    }
}

class StoreAtHand : public Store
{
};

TEST_P(StoreAtHand, HasTheExpectedNumberOfOperations)
{
    const auto isOnStore = [](const Operation& operation) {
        return operation.on == GetParam().store;
    };
    EXPECT_EQ(std::count_if(operations().begin(), operations().end(), isOnStore),
              GetParam().operations);
}

TEST_P(StoreAtHand, LetsItsQueriesTouchFiles)
{
    OstrelService web("web");
    const support::FileWatch watch = watchEverything();
    for (const Operation& operation : operations()) {
        if (operation.on == GetParam().store && operation.does == Does::Query) {
            operation.call(web, argumentOf(operation));
        }
    }
    EXPECT_FALSE(watch.touched().empty());
}

/// An application's own service, which denies the stores that the configuration
/// enables.
struct DeniedService : OstrelService {
    using OstrelService::OstrelService;
    bool hasServer() const override { return false; }
    bool hasCA() const override { return false; }
    bool hasTrustedClient() const override { return false; }
};

TEST_P(StoreAtHand, IsCheckedThroughTheVirtualOperations)
{
    DeniedService web("web");
    for (const Operation& operation : operations()) {
        if (operation.on == GetParam().store) {
            EXPECT_EQ(thrownBoth(operation, web), refused) << operation.name;
        }
    }
}

std::string testNameOf(const testing::TestParamInfo<StoreRow>& info)
{
    return info.param.testName;
}

INSTANTIATE_TEST_SUITE_P(Stores, MissingStore, testing::ValuesIn(storeRows), testNameOf);
INSTANTIATE_TEST_SUITE_P(Stores, StoreAtHand, testing::ValuesIn(storeRows), testNameOf);

} // namespace
