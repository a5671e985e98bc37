#include "store/CertificateStore.h"

#include "support/FileWatch.h"
#include "unit/daemon/StoreCase.h"

namespace
{

namespace fs = std::filesystem;
using ostreld::Certificate;
using ostreld::CertificateStore;
using support::TestCertificate;
using testing::Contains;
using testing::ElementsAreArray;
using testing::Not;

class Store : public store_case::WithStores
{
protected:
    Store() { store.rebuild(); }

    CertificateStore another() const
    {
        return {ostreld::storeRows[0], *configuration, ::getegid()};
    }

    std::string addNew() { return store.add(Certificate(TestCertificate().pem())); }

    void expectAgreement(const CertificateStore& checked) const
    {
        EXPECT_EQ(disk.fault(), "");
        EXPECT_THAT(checked.ids(), ElementsAreArray(disk.ids()));
    }

    std::set<std::string> directories() const
    {
        return {disk.certificateDirectoryPath(), disk.cachedDirectoryPath(),
                disk.tmpDirectoryPath()};
    }

    CertificateStore store = another();
    const daemon_case::StoreOnDisk disk{"web", "ca"};
};

TEST_F(Store, AddsACertificateCompletelyOrNotAtAllWithoutMemory)
{
    addNew();
    const Certificate certificate(TestCertificate().pem());
    const std::string id = certificate.id();
    store_case::withoutMemory([&] { store.add(certificate); },
                              [&](bool isMade) {
                                  store.retryRemovals();
                                  expectAgreement(store);
                                  EXPECT_EQ(store.has(id), isMade);
                              });
}

TEST_F(Store, RevokesACertificateCompletelyOrNotAtAllWithoutMemory)
{
    addNew();
    const Certificate certificate(TestCertificate().pem());
    const std::string id = store.add(certificate);
    store_case::withoutMemory([&] { store.revoke({id}); },
                              [&](bool isMade) {
                                  store.retryRemovals();
                                  expectAgreement(store);
                                  EXPECT_EQ(store.has(id), !isMade);
                                  if (isMade) {
                                      store.add(certificate);
                                  }
                              });
}

TEST_F(Store, FailsToRebuildOrKnowsEverythingWithoutMemory)
{
    const std::string id = addNew();
    const std::string name = Certificate(store.files().certificateText(id)).commonName();
    for (const bool isListLost : {false, true}) {
        std::unique_ptr<CertificateStore> next;
        store_case::withoutMemory(
            [&] {
                if (isListLost) {
                    ::unlink(disk.listPath().c_str());
                }
                next = std::make_unique<CertificateStore>(another());
                next->rebuild();
            },
            [&](bool isMade) {
                EXPECT_TRUE(fs::exists(disk.certPath(id)));
                if (isMade) {
                    expectAgreement(*next);
                    EXPECT_THAT(next->idsByCN(name), Contains(id));
                }
            });
    }
}

TEST_F(Store, ReadsAndWritesNothingOfUnchangedCertificatesAtAReload)
{
    const std::string id = addNew();
    store.add(Certificate(TestCertificate{"Another CA"}.pem()));
    const support::FileWatch watch(directories());
    auto next = another();
    next.rebuild(&store);
    const std::set<std::string> expected = {"", ".cacheddata", "id_cn.map", "list.txt"};
    for (const std::string& touched : watch.touched()) {
        EXPECT_EQ(expected.count(touched), 1U) << touched;
    }
    EXPECT_EQ(next.idsByCN("Test CA"), std::vector<std::string>{id});
}

TEST_F(Store, RepairsAtAReloadWhatHasChanged)
{
    addNew();
    const std::string id = addNew();
    const std::string kept = addNew();
    fs::remove(disk.certInfoPath(id));
    support::writeText(disk.certDetailsPath(id), "changed");
    const support::FileWatch watch(directories());
    auto next = another();
    next.rebuild(&store);
    EXPECT_THAT(watch.touched(), Not(Contains(kept)));
    expectAgreement(next);
}

TEST_F(Store, WritesNothingAtAStartWithCorrectFiles)
{
    addNew();
    addNew();
    const support::FileWatch watch(directories(),
                                   IN_CREATE | IN_MODIFY | IN_ATTRIB | IN_MOVE | IN_DELETE);
    another().rebuild();
    EXPECT_EQ(watch.touched(), std::set<std::string>());
}

TEST_F(Store, FollowsChangesOfTheFormerStoreDuringARebuild)
{
    std::vector<std::string> ids;
    for (int i = 0; i < 5; ++i) {
        ids.push_back(addNew());
    }
    for (std::size_t steps = 1; steps < 30; ++steps) {
        SCOPED_TRACE(steps);
        auto next = another();
        next.beginRebuild(&store);
        const bool isUnderWay = next.rebuildSome(steps);
        store.revoke({ids.back()});
        ids.back() = addNew();
        expectAgreement(store);
        while (next.rebuildSome(1)) {
        }
        if (isUnderWay) {
            expectAgreement(next);
        }
    }
}

TEST_F(Store, RemovesLaterWhatCannotBeRemovedAtARevocation)
{
    const std::string id = addNew();
    const std::string overrides = disk.certOverwrittenDataPath(id);
    fs::remove(overrides);
    fs::create_directory(overrides);
    EXPECT_EQ(store.revoke({id}), std::vector<std::string>{id});
    EXPECT_FALSE(fs::exists(disk.certPath(id)));
    EXPECT_FALSE(fs::exists(disk.certInfoPath(id)));
    EXPECT_FALSE(store.retryRemovals());
    fs::remove(overrides);
    support::writeText(overrides, "");
    EXPECT_TRUE(store.retryRemovals());
    EXPECT_EQ(disk.fault(), "");
}

TEST_F(Store, KeepsACertificateThatIsAddedAgainBeforeItsFilesWereRemoved)
{
    const Certificate certificate(TestCertificate().pem());
    const std::string id = store.add(certificate);
    const std::string info = disk.certInfoPath(id);
    fs::remove(info);
    fs::create_directory(info);
    store.revoke({id});
    fs::remove(info);
    store.add(certificate);
    EXPECT_TRUE(store.retryRemovals());
    expectAgreement(store);
}

} // namespace
