#include "support/SmallStack.h"

#include "integration/ServerCase.h"
#include "integration/StoreOnDisk.h"
#include "support/ChildProcess.h"
#include "support/Thrown.h"
#include "unit/api/Operations.h"

#include <iostream>

namespace
{

using service_case::Does;
using service_case::On;
using service_case::Operation;
using service_case::operations;
using service_case::Takes;
using support::inChild;
using support::onSmallStack;
using support::TestCertificate;

/// What a call on a small stack threw, and how much of the stack it used.
struct Outcome {
    std::string thrown;
    std::size_t used;
};

Outcome outcomeOf(const std::function<void()>& work)
{
    std::string thrown;
    const std::size_t used = onSmallStack([&] { thrown = support::thrownBy(work); });
    return {thrown, used};
}

/// Runs in a child process, so that an overflow fails one row only.
Outcome outcomeInChild(const std::function<void()>& work)
{
    const std::string text = inChild([&] {
        const Outcome outcome = outcomeOf(work);
        return std::to_string(outcome.used) + ' ' + outcome.thrown;
    });
    const std::size_t blank = text.find(' ');
    if (text[0] == '[' || blank == std::string::npos) {
        return {text, 0};
    }
    return {text.substr(blank + 1), std::stoul(text)};
}

class SmallStack : public server_case::WithServer
{
protected:
    SmallStack()
    {
        configure("ca yes\ntrustedClients yes\n");
        daemon.start();
    }

    /// Prepares what the operations need: a certificate in every store, and a
    /// pending request.
    void stock() const
    {
        ostrelApi::OstrelService service = web();
        if (service.getCAList().empty()) {
            service.addCA(TestCertificate().pem());
        }
        if (service.getTrustedClientList().empty()) {
            service.addTrustedClient(TestCertificate().pem());
        }
        if (!std::filesystem::exists(paths.activePath())) {
            applyNew();
        }
        if (service.getServerCsrTimestamp() == 0) {
            service.createServerCsr();
        }
    }

    std::string argumentOf(const Operation& operation) const
    {
        switch (operation.takes) {
        case Takes::AName:
            return "Test CA";
        case Takes::Pem:
            return operation.does == Does::Query ? support::readText(pathOf(operation.on))
                                                 : newFor(operation.on);
        case Takes::APath:
            return operation.does == Does::Import ? given(newFor(operation.on))
                                                  : pathOf(operation.on);
        default:
            return idIn(operation.on);
        }
    }

    static std::string newFor(On store)
    {
        return store == On::Server ? support::certificateFor(web().getServerCsr())
                                   : TestCertificate().pem();
    }
    static std::string idIn(On store)
    {
        switch (store) {
        case On::Server:
            return web().getServerActiveCertificateId();
        case On::TrustedClient:
            return web().getTrustedClientList().front();
        default:
            return web().getCAList().front();
        }
    }
    std::string pathOf(On store) const
    {
        return (store == On::TrustedClient ? clients : authorities).certPath(idIn(store));
    }

    const daemon_case::StoreOnDisk authorities{"web", "ca"};
    const daemon_case::StoreOnDisk clients{"web", "client"};
};

TEST_F(SmallStack, IsEnoughForEveryOperation)
{
    Outcome deepest{"", 0};
    for (const Operation& operation : operations()) {
        stock();
        const std::string argument = argumentOf(operation);
        const Outcome outcome = outcomeInChild([&] {
            ostrelApi::OstrelService service("web");
            operation.call(service, argument);
        });
        EXPECT_EQ(outcome.thrown, "nothing") << operation.name;
        if (outcome.used > deepest.used) {
            deepest = {operation.name, outcome.used};
        }
    }
    EXPECT_GT(deepest.used, 0U);
    std::cout << "most stack: " << deepest.used << " bytes, by " << deepest.thrown << '\n';
}

// The first call of a process also reads the daemon configuration.
TEST_F(SmallStack, IsEnoughForTheFirstCallOfAProcess)
{
    EXPECT_EQ(outcomeOf([] { web().isServiceRunning(); }).thrown, "nothing");
}

// Each call needs the result of the previous one, so the compiler cannot turn
// the recursion into a loop.
int fillStack(int count, const volatile char* above)
{
    volatile char filling[1024] = {};
    filling[0] = *above;
    return count == 0 ? filling[0] : fillStack(count - 1, filling);
}

int fillStack(int count)
{
    const volatile char top = 0;
    return fillStack(count, &top);
}

TEST(SmallStackItself, EndsAProcessThatNeedsMore)
{
#ifdef __SANITIZE_THREAD__
    GTEST_SKIP() << "the thread sanitizer needs a larger stack for itself";
#endif
    EXPECT_GT(outcomeInChild([] { fillStack(64); }).used, std::size_t{64 * 1024});
    EXPECT_EQ(outcomeInChild([] { fillStack(130); }).thrown.substr(0, 12), "[wait status");
}

} // namespace
