#include "bench/Device.h"
#include "bench/RawStore.h"
#include "bench/Rows.h"

#include <ostrel/ExternalCertificatesAccessor.h>
#include <ostrelApi/OstrelService.h>

#include <cstdio>
#include <memory>
#include <random>

namespace bench
{

namespace
{

/// A service with its own store.
struct Store {
    Store(const Device& device, const std::string& name)
        : service(std::make_shared<ostrelApi::OstrelService>(device.addService(name))),
          paths(name, "ca")
    {
    }

    std::shared_ptr<ostrelApi::OstrelService> service;
    ostrel::ExternalCertificatesAccessor paths;
};

// Ascends with `number`, and is as long as an id of the daemon.
std::string idOf(std::size_t number)
{
    char text[17];
    std::snprintf(text, sizeof text, "%016zx", number * 0x10001);
    return text;
}

std::string listText(std::size_t count)
{
    std::string text;
    for (std::size_t i = 0; i < count; ++i) {
        text += idOf(i) + '\n';
    }
    return text;
}

// One entry in ten has the name that the row looks up; `first` shifts which ones.
std::string mapText(std::size_t count, std::size_t first)
{
    std::string text;
    for (std::size_t i = 0; i < count; ++i) {
        text += idOf(i) + " Example Root CA " + std::to_string((i + first) % 10) + '\n';
    }
    return text;
}

std::string certificateText(std::size_t number)
{
    constexpr char digits[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    std::mt19937 random(static_cast<std::mt19937::result_type>(number));
    std::string text = "-----BEGIN CERTIFICATE-----\n";
    for (int line = 0; line < 20; ++line) {
        for (int column = 0; column < 64; ++column) {
            text += digits[random() % 64];
        }
        text += '\n';
    }
    return text + "-----END CERTIFICATE-----\n";
}

// Measures a list as the daemon writes it. Compares the results for an unordered list too.
Row listRow(const Device& device, std::size_t size)
{
    const Store store(device, "list" + std::to_string(size));
    const std::string path = store.paths.listPath();
    const std::string disordered = path + ".disordered";
    writeFile(path, listText(size));
    writeFile(disordered, listText(size) + '\n' + listText(size));
    const auto& service = store.service;
    return withCheck(rowOf(
                         {"id list, ids", size, 1.5}, [=] { return service->getCAList(); },
                         [=] { return idsByHand(path); }),
                     [=] { return service->getList(disordered) == idsByHand(disordered); });
}

Row byCNRow(const Device& device, std::size_t size)
{
    const Store store(device, "names" + std::to_string(size));
    const std::string path = store.paths.cnMapPath();
    const std::string disordered = path + ".disordered";
    const std::string cn = "Example Root CA 7";
    writeFile(path, mapText(size, 0));
    writeFile(disordered, mapText(size, 0) + mapText(size, 5));
    const auto& service = store.service;
    return withCheck(
        rowOf(
            {"ids by CN, entries", size, 2}, [=] { return service->getCAListByCN(cn); },
            [=] { return idsByCNByHand(path, cn); }),
        [=] { return service->getListByCN(disordered, cn) == idsByCNByHand(disordered, cn); });
}

// The certificate to find is the last one.
Row findRow(const Device& device, std::size_t size)
{
    const Store store(device, "find" + std::to_string(size));
    writeFile(store.paths.listPath(), listText(size));
    for (std::size_t i = 0; i < size; ++i) {
        writeFile(store.paths.certPath(idOf(i)), certificateText(i));
    }
    const std::string wanted = store.paths.cnMapPath() + ".wanted";
    writeFile(wanted, certificateText(size - 1));
    return rowOf(
        {"find a certificate, CAs", size, 1.5}, [=] { return store.service->getIdCAPath(wanted); },
        [=, list = store.paths.listPath(), directory = store.paths.certificateDirectoryPath()] {
            return idOfCertificateByHand(list, directory, wanted);
        });
}

} // namespace

std::vector<Row> storeRows(const Device& device, Extent extent)
{
    std::vector<Row> rows;
    for (const std::size_t size : sizesFor(extent, {10, 1000, 100000})) {
        rows.push_back(listRow(device, size));
        rows.push_back(byCNRow(device, size));
    }
    for (const std::size_t size : sizesFor(extent, {10, 1000, 10000})) {
        rows.push_back(findRow(device, size));
    }
    return rows;
}

} // namespace bench
