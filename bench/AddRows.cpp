#include "bench/Certificates.h"
#include "bench/Daemon.h"
#include "bench/RawWrites.h"
#include "bench/Rows.h"

#include <ostrel/ExternalCertificatesAccessor.h>
#include <ostrelApi/OstrelService.h>

#include <filesystem>
#include <memory>

#include <unistd.h>

namespace bench
{

namespace
{

namespace fs = std::filesystem;

/// A store with `size` CAs, to which another one is added and from which it is removed.
struct Store {
    Store(const Device& device, const std::string& name, std::size_t size)
        : service(device.addService(name)), paths(name, "ca"),
          added(certificateFiles(size + 1)[size])
    {
        fillStore(name, size);
    }

    std::vector<std::string> writtenPaths() const
    {
        return {paths.certPath(added.id),
                paths.certOverwrittenDataPath(added.id),
                paths.certInfoPath(added.id),
                paths.certDetailsPath(added.id),
                paths.listPath(),
                paths.cnMapPath()};
    }

    ostrelApi::OstrelService service;
    ostrel::ExternalCertificatesAccessor paths;
    const CertificateFile added;
};

/// The directories of a store by hand, and what the daemon wrote in its own.
struct RawStore {
    RawStore(const std::string& base, Store& store)
    {
        using Way = RawFile::Way;
        constexpr Way ways[] = {Way::ReplacePersistent, Way::Create,
                                Way::ReplaceVolatile,   Way::ReplaceVolatile,
                                Way::ReplacePersistent, Way::ReplaceVolatile};
        const std::string directories[] = {base + "/certificates", base + "/cached",
                                           base + "/volatile",     base + "/volatile",
                                           base + "/cached",       base + "/volatile"};
        store.service.addCA(store.added.pem);
        const std::vector<std::string> paths = store.writtenPaths();
        for (std::size_t i = 0; i < paths.size(); ++i) {
            fs::create_directories(directories[i]);
            files.push_back({directories[i], fs::path(paths[i]).filename().string(),
                             textOfFile(paths[i]), ways[i]});
        }
        store.service.revokeCA(store.added.id);
        scratch = base + "/cached";
    }

    void remove() const
    {
        for (const RawFile& file : files) {
            ::unlink((file.directory + '/' + file.name).c_str());
        }
    }

    std::vector<RawFile> files;
    std::string scratch;
};

bool isSame(const Store& store, const RawStore& raw)
{
    const std::vector<std::string> paths = store.writtenPaths();
    bool result = true;
    for (std::size_t i = 0; i < paths.size(); ++i) {
        const RawFile& file = raw.files[i];
        result = result && textOfFile(paths[i]) == textOfFile(file.directory + '/' + file.name);
    }
    return result;
}

Row addRow(const Device& device, std::size_t size, const std::shared_ptr<Store>& store,
           const std::shared_ptr<Daemon>& daemon)
{
    const std::string base = device.directory() + "/byhand" + std::to_string(size);
    const auto raw = std::make_shared<RawStore>(base, *store);
    const Row row = rowOf(
        {"add a CA, CAs before", size, 4, Clock::Wall},
        [=, running = daemon] { return store->service.addCA(store->added.pem); },
        [=] {
            writeByHand(raw->files, raw->scratch);
            return store->added.id;
        });
    return withEnds(
        withCheck(row, [=] { return isSame(*store, *raw); }),
        [=] { store->service.revokeCA(store->added.id); }, [=] { raw->remove(); });
}

} // namespace

std::vector<Row> addRows(const Device& device, Extent extent)
{
    const std::vector<std::size_t> sizes = sizesFor(extent, {0, 5000});
    std::vector<std::shared_ptr<Store>> stores;
    for (const std::size_t size : sizes) {
        stores.push_back(std::make_shared<Store>(device, "add" + std::to_string(size), size));
    }
    const auto daemon = std::make_shared<Daemon>(device);
    std::vector<Row> rows;
    for (std::size_t i = 0; i < sizes.size(); ++i) {
        rows.push_back(addRow(device, sizes[i], stores[i], daemon));
    }
    return rows;
}

} // namespace bench
