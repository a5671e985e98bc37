#include "bench/Device.h"
#include "bench/RawStore.h"
#include "bench/Rows.h"
#include "bench/RunProgram.h"

#include <ostrel/ExternalCertificatesAccessor.h>

#include <fmt/format.h>

namespace bench
{

namespace
{

constexpr std::size_t certificates = 100;

std::string infoText(std::size_t number)
{
    return fmt::format("{{\n\t\"data_structure_version\": 1,\n\t\"isCA\": true,\n"
                       "\t\"isSelfSigned\": true,\n"
                       "\t\"issuerName\": \"C = US, O = Example, CN = Example Root CA {0}\",\n"
                       "\t\"subjectName\": \"C = US, O = Example, CN = Example Root CA {0}\",\n"
                       "\t\"validFrom\": 1577836800,\n\t\"validHostnames\": [],\n"
                       "\t\"validIPs\": [],\n\t\"validUntil\": {1}\n}}\n",
                       number, 2208988800 + number);
}

/// Adds a service with CAs and returns its files: the list, the map and the summaries.
std::vector<std::string> addFilledService(const Device& device, const std::string& name)
{
    const ostrel::ExternalCertificatesAccessor paths(device.addService(name), "ca");
    std::string list;
    std::string names;
    std::vector<std::string> files = {paths.listPath(), paths.cnMapPath()};
    for (std::size_t i = 0; i < certificates; ++i) {
        const std::string id = fmt::format("{:016x}", i * 0x10001);
        list += id + '\n';
        names += fmt::format("{} Example Root CA {}\n", id, i);
        files.push_back(paths.certInfoPath(id));
        writeFile(files.back(), infoText(i));
    }
    writeFile(paths.listPath(), list);
    writeFile(paths.cnMapPath(), names);
    return files;
}

/// How many services the program lists with all of their certificates. The services of
/// other rows have other numbers of certificates.
std::size_t listedIn(const std::string& table)
{
    const std::string count = fmt::format("  {}  ", certificates);
    std::size_t lines = 0;
    for (std::size_t at = 0; (at = table.find(count, at)) != std::string::npos; ++at) {
        ++lines;
    }
    return lines;
}

std::size_t lengthOfAll(const std::vector<std::string>& files)
{
    std::size_t length = 0;
    for (const std::string& file : files) {
        length += lengthByHand(file);
    }
    return length;
}

} // namespace

std::vector<Row> listingRows(const Device& device, Extent extent)
{
    const std::size_t services = sizesFor(extent, {2, 50}).back();
    std::vector<std::string> files;
    for (std::size_t i = 0; i < services; ++i) {
        const auto some = addFilledService(device, fmt::format("listing{}", i));
        files.insert(files.end(), some.begin(), some.end());
    }
    const std::string table = device.directory() + "/table";
    const auto program = [=] { return statusOf({OSTRELCTL, "services"}, table); };
    return {withCheck(rowOf(
                          {"ostrelctl services", services * certificates, 5, Clock::Wall}, program,
                          [=] { return lengthOfAll(files); },
                          [](int status, std::size_t length) { return status == 0 && length > 0; }),
                      [=] { return listedIn(textOfFile(table)) == services; })};
}

} // namespace bench
