#include "unit/api/ServiceCase.h"

#include "support/CapturedErrors.h"
#include "tools/Descriptor.h"

#include <sys/file.h>

namespace
{

using service_case::externalStores;
using service_case::Ids;
using service_case::messageLine;
using service_case::messageStart;
using service_case::OstrelService;
using service_case::testNameOf;
using support::apiError;
using support::ScriptedPeer;
using support::thrownBy;

class Revocation : public service_case::ExternalStoreCase
{
protected:
    Ids revokeAll(const Ids& ids) { return store.revokeAll(web, ids); }

    std::string thrownByRevoke(const std::string& id)
    {
        return thrownBy([&] { store.revoke(web, id); });
    }

    std::string message(const std::string& arguments) const
    {
        return messageStart() + store.word + "\trevoke" + arguments;
    }

    void expectBothThrow(const std::string& expected)
    {
        EXPECT_EQ(thrownByRevoke("7"), expected);
        EXPECT_EQ(thrownBy([&] { revokeAll({"7"}); }), expected);
    }

    ScriptedPeer peer{device, "web"};
};

INSTANTIATE_TEST_SUITE_P(Of, Revocation, testing::ValuesIn(externalStores), testNameOf);

struct MessageRow {
    const char* sentence;
    Ids ids;
    std::string arguments;
};

TEST_P(Revocation, SendsTheIdsUnchanged)
{
    const MessageRow rows[] = {
        {"one", {"7"}, "\t7"},
        {"several, in the caller's order and with repetitions", {"b", "a", "b"}, "\tb\ta\tb"},
        {"no ids", {}, ""},
        {"an empty id", {""}, "\t"},
        {"an id with blanks", {" a b "}, "\t a b "},
    };
    for (const MessageRow& row : rows) {
        peer.answer("0 ");
        EXPECT_EQ(revokeAll(row.ids), Ids()) << row.sentence;
        EXPECT_EQ(peer.lastMessage(), message(row.arguments)) << row.sentence;
    }
}

struct ReplyRow {
    const char* sentence;
    std::string reply;
    Ids expected;
};

TEST_P(Revocation, ReturnsEachRepliedIdOnceInAscendingOrder)
{
    const ReplyRow rows[] = {
        {"no ids", "0 ", {}},
        {"one", "0 7", {"7"}},
        {"several, out of order and one of them twice", "0 9 10 9", {"10", "9"}},
        {"other ids than requested", "0 x y", {"x", "y"}},
        {"a blank at the end", "0 a ", {"a"}},
        {"a blank at the start", "0  a", {"", "a"}},
        {"two blanks between", "0 b  a", {"", "a", "b"}},
        {"only blanks", "0   ", {""}},
        {"other characters do not separate", "0 a\nb\tc,d", {"a\nb\tc,d"}},
        {"without a blank, the whole reply is the payload", "0", {"0"}},
    };
    for (const ReplyRow& row : rows) {
        peer.answer(row.reply);
        EXPECT_EQ(revokeAll({"7"}), row.expected) << row.sentence;
    }
}

struct SingleRow {
    const char* sentence;
    const char* id;
    const char* reply;
    bool isRevoked;
};

TEST_P(Revocation, OfOneIdSucceedsIfItIsTheSmallestRepliedId)
{
    const SingleRow rows[] = {
        {"only that id", "7", "0 7", true},
        {"that id and greater ones", "7", "0 9 7 8", true},
        {"that id and a smaller one", "7", "0 10 7", false},
        {"that id after a blank, which adds an empty id", "7", "0  7", false},
        {"another id", "7", "0 8", false},
        {"a longer id", "7", "0 77", false},
        {"no ids", "7", "0 ", false},
        {"no ids, for an empty id", "", "0 ", false},
        {"an empty id, for an empty id", "", "0  7", true},
    };
    const std::string failure = "ostrelApi::CallError: " + std::string(store.badCertificateText);
    for (const SingleRow& row : rows) {
        SCOPED_TRACE(row.sentence);
        peer.answer(row.reply);
        EXPECT_EQ(thrownByRevoke(row.id), row.isRevoked ? "nothing" : failure);
        EXPECT_EQ(peer.lastMessage(), message('\t' + std::string(row.id)));
    }
}

TEST_P(Revocation, PassesOnEveryRefusalOfTheDaemon)
{
    for (int code = 1; code <= 43; ++code) {
        peer.answer(std::to_string(code) + " 7");
        peer.answer(std::to_string(code) + " 7");
        expectBothThrow(apiError(code));
    }
}

TEST_P(Revocation, PassesOnEveryFailureToReachTheDaemon)
{
    {
        const auto holder = ostrel::Descriptor::open(peer.lockPath(), O_RDONLY);
        ASSERT_EQ(::flock(holder.get(), LOCK_EX), 0);
        expectBothThrow(apiError(2));
    }
    std::filesystem::remove(peer.inPath());
    expectBothThrow(apiError(11));
    std::filesystem::remove(peer.lockPath());
    expectBothThrow(apiError(11));
}

TEST_P(Revocation, DoesNotChangeTheStoreItself)
{
    putList("7\n");
    put("7", "certificate");
    peer.answer("0 7");
    EXPECT_EQ(thrownByRevoke("7"), "nothing");
    EXPECT_EQ(support::readText(list), "7\n");
    EXPECT_EQ(support::readText(certificates + "/7"), "certificate");
    EXPECT_EQ(pipeFiles(), (std::set<std::string>{"web.in", "web.lock"}));
}

TEST_P(Revocation, TracesOnlyItsMessage)
{
    const support::CapturedTrace trace;
    peer.answer("0 8");
    EXPECT_EQ(thrownByRevoke("7"), apiError(store.badCertificate));
    EXPECT_EQ(trace.text(), messageLine(message("\t7")));
}

/// A service that overrides the revocation of several ids.
class OwnRevocation : public OstrelService
{
public:
    using OstrelService::OstrelService;
    using OstrelService::revokeCA;
    using OstrelService::revokeTrustedClient;
    Ids revokeCA(const Ids& ids) override { return revoke(ids); }
    Ids revokeTrustedClient(const Ids& ids) override { return revoke(ids); }

    Ids asked;
    Ids revoked;

private:
    Ids revoke(const Ids& ids)
    {
        asked = ids;
        return revoked;
    }
};

TEST_P(Revocation, OfOneIdUsesTheRevocationOfASubclassEvenWithoutAStore)
{
    device.addService("bare", "");
    OwnRevocation own("bare");
    own.revoked = {"7", "1"};
    store.revoke(own, "7");
    EXPECT_EQ(own.asked, Ids{"7"});
    own.revoked = {"1", "7"};
    EXPECT_EQ(thrownBy([&] { store.revoke(own, "7"); }), apiError(store.badCertificate))
        << "only the first one counts, in any order";
}

} // namespace
