#include "store/ServerStore.h"

#include "unit/daemon/StoreCase.h"
#include "x509/Identity.h"
#include "x509/RequestProfile.h"

#include <ostrel/InternalCertificatesAccessor.h>

namespace
{

namespace fs = std::filesystem;
using ostreld::Certificate;
using ostreld::ServerStore;
using support::readText;

class OwnStore : public store_case::WithStores
{
protected:
    /// A request with its key and its network text.
    struct Request {
        std::string key;
        std::string text;
        std::string network;
    };

    OwnStore() { store.rebuild(); }

    Request newRequest(const std::string& network = "IP:192.0.2.1\n") const
    {
        const ostreld::Identity made = ostreld::makeRequest(
            *configuration, ostreld::configurationFileText(*configuration), false);
        return {std::string(made.key.view()), made.pem, network};
    }

    void put(const Request& request)
    {
        store.putRequest(request.key, request.text, request.network);
    }

    std::string applyNew()
    {
        put(newRequest());
        store.apply(support::certificateFor(store.requestText()));
        return store.active();
    }

    ServerStore restarted() const
    {
        ServerStore next(*configuration, ::getegid());
        next.rebuild();
        return next;
    }

    static void replaceByDirectory(const std::string& path)
    {
        fs::remove(path);
        fs::create_directory(path);
    }

    ServerStore store{*configuration, ::getegid()};
    const ostrel::InternalCertificatesAccessor paths{"web", "server"};
};

TEST_F(OwnStore, PutsARequestInPlaceCompletelyOrNotAtAllWithoutMemory)
{
    Request former = newRequest();
    put(former);
    const Request next = newRequest();
    store_case::withoutMemory([&] { put(next); },
                              [&](bool isMade) {
                                  EXPECT_EQ(store.requestText(), isMade ? next.text : former.text);
                                  EXPECT_EQ(restarted().requestText(), store.requestText());
                                  EXPECT_EQ(readText(paths.csrKeyPath()),
                                            isMade ? next.key : former.key);
                                  if (isMade) {
                                      put(former);
                                  }
                              });
}

TEST_F(OwnStore, AppliesACertificateCompletelyOrNotAtAllWithoutMemory)
{
    const std::string former = applyNew();
    put(newRequest());
    const std::string pem = support::certificateFor(store.requestText());
    const std::string id = support::fingerprintId(pem);
    bool isApplied = false;
    store_case::withoutMemory(
        [&] {
            if (!isApplied) {
                store.apply(pem);
            }
        },
        [&](bool isMade) {
            isApplied = isApplied || isMade;
            EXPECT_EQ(store.active(), isApplied ? id : former);
            EXPECT_EQ(readText(paths.activePath()), store.active() + '\n');
            EXPECT_TRUE(support::isKeyOf(readText(paths.certPath(store.active())),
                                         readText(paths.certKeyPath(store.active()))));
            EXPECT_EQ(isApplied || store.isRequestPending(), true);
        });
    EXPECT_TRUE(store.retryRemovals());
    EXPECT_FALSE(store.isRequestPending());
}

TEST_F(OwnStore, TakesTheKeyAndTheAddressesOfARequestTogether)
{
    const struct {
        const char* sentence;
        std::string path;
    } rows[] = {{"the key cannot be renamed", paths.csrKeyPath()},
                {"the addresses cannot be renamed", paths.csrNetworkPath()}};
    for (const auto& row : rows) {
        SCOPED_TRACE(row.sentence);
        put(newRequest("DNS:former.example\n"));
        replaceByDirectory(row.path);
        const Request request = newRequest("DNS:new.example\n");
        put(request);
        EXPECT_FALSE(store.retryRemovals());
        EXPECT_EQ(restarted().requestText(), request.text);
        store.apply(support::certificateFor(store.requestText()));
        EXPECT_EQ(store.keyText().view(), request.key);
        EXPECT_EQ(store.activeNetwork(), request.network);
        EXPECT_FALSE(store.isRequestPending());
        fs::remove(row.path);
        EXPECT_TRUE(store.retryRemovals());
    }
}

TEST_F(OwnStore, CompletesARequestAsSoonAsThatWorks)
{
    put(newRequest());
    replaceByDirectory(paths.csrKeyPath());
    const Request request = newRequest();
    put(request);
    fs::remove(paths.csrKeyPath());
    EXPECT_TRUE(store.retryRemovals());
    EXPECT_EQ(readText(paths.csrKeyPath()), request.key);
    EXPECT_FALSE(fs::exists(paths.csrKeyPath() + ".next"));
}

TEST_F(OwnStore, RefusesARequestThatItCannotPutAfterAnUnfinishedOne)
{
    put(newRequest());
    replaceByDirectory(paths.csrKeyPath());
    const Request request = newRequest();
    put(request);
    EXPECT_THROW(put(newRequest()), std::runtime_error);
    EXPECT_EQ(store.requestText(), request.text);
    store.apply(support::certificateFor(store.requestText()));
    EXPECT_EQ(store.keyText().view(), request.key);
}

TEST_F(OwnStore, RemovesAKeyAsSoonAsThatWorks)
{
    const std::string id = applyNew();
    const std::string key = paths.certKeyPath(id);
    replaceByDirectory(key);
    store.revoke();
    EXPECT_FALSE(store.hasActive());
    EXPECT_FALSE(store.retryRemovals());
    fs::remove(key);
    support::writeText(key, "key");
    EXPECT_TRUE(store.retryRemovals());
    EXPECT_FALSE(fs::exists(key));
}

TEST_F(OwnStore, KeepsTheFilesOfTheFormerCertificateWhenItIsPutInUseAgain)
{
    const Request request = newRequest();
    const Certificate first(support::certificateFor(request.text));
    const Certificate second(support::certificateFor(request.text));
    for (const Certificate* certificate : {&first, &second, &first, &second}) {
        store.putInUse(*certificate, request.key, request.network);
        EXPECT_EQ(store.active(), certificate->id());
        EXPECT_EQ(readText(paths.certPath(store.active())), certificate->pem());
        EXPECT_EQ(store.keyText().view(), request.key);
    }
}

TEST_F(OwnStore, GivesTheKeyToCallersWhoseGroupIsTheKeyGroup)
{
    support::Accounts::addGroup("second:x:" + std::to_string(::getegid()) + ":");
    support::Accounts::addGroup("other:x:4713:");
    for (const auto& [group, isForCallers] :
         {std::pair("", false), std::pair("ostrel", true), std::pair("second", true),
          std::pair("other", false)}) {
        configuration->m_keyGroup = group;
        EXPECT_EQ(ServerStore(*configuration, ::getegid()).isKeyForCallers(), isForCallers)
            << group;
    }
}

} // namespace
