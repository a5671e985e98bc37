#include "bench/Device.h"
#include "bench/Peer.h"
#include "bench/Rows.h"

#include <ostrel/CertificateInfo.h>
#include <ostrelApi/OstrelService.h>
#include <ostrl/CCertificateData.h>

#include <cxxtools/jsondeserializer.h>
#include <cxxtools/serializationinfo.h>

#include <algorithm>
#include <fstream>
#include <memory>
#include <string_view>
#include <utility>

namespace bench
{

namespace
{

/// The content of an info file, for cxxtools without the library.
struct BareInfo {
    std::int32_t version = 0;
    std::string issuerName;
    std::string subjectName;
    bool isCA = false;
    bool isSelfSigned = false;
    unsigned long long validFrom = 0;
    unsigned long long validUntil = 0;
    std::vector<std::string> validIPs;
    std::vector<std::string> validHostnames;
};

void operator>>=(const cxxtools::SerializationInfo& root, BareInfo& info)
{
    root.getMember("data_structure_version") >>= info.version;
    root.getMember("issuerName") >>= info.issuerName;
    root.getMember("subjectName") >>= info.subjectName;
    root.getMember("isCA") >>= info.isCA;
    root.getMember("isSelfSigned") >>= info.isSelfSigned;
    root.getMember("validFrom") >>= info.validFrom;
    root.getMember("validUntil") >>= info.validUntil;
    root.getMember("validIPs") >>= info.validIPs;
    root.getMember("validHostnames") >>= info.validHostnames;
}

BareInfo infoByCxxtools(const std::string& path)
{
    BareInfo info;
    std::ifstream file(path);
    cxxtools::JsonDeserializer document(file);
    document.deserialize(info);
    return info;
}

bool isSameInfo(const ostrel::CertificateInfo& a, const BareInfo& b)
{
    return a.issuerName == b.issuerName && a.subjectName == b.subjectName && a.isCA == b.isCA &&
           a.isSelfSigned == b.isSelfSigned && a.validFrom == b.validFrom &&
           a.validUntil == b.validUntil && a.validIPs == b.validIPs &&
           a.validHostnames == b.validHostnames;
}

std::string infoText(std::size_t hosts)
{
    std::string names;
    for (std::size_t i = 0; i < hosts; ++i) {
        names += (i == 0 ? "\"host" : ", \"host") + std::to_string(i) + ".example.com\"";
    }
    return R"({"data_structure_version": 1,
 "issuerName": "C=US, ST=NC, O=Example Corporation, CN=Example Root CA",
 "subjectName": "C=US, ST=NC, O=Example Corporation, CN=web.example.com",
 "isCA": false, "isSelfSigned": false,
 "validFrom": 1700000000, "validUntil": 1800000000,
 "validIPs": ["192.168.1.18", "10.0.0.1"],
 "validHostnames": [)" +
           names + "]}\n";
}

Row infoRow(const Device& device, std::size_t hosts)
{
    const std::string path = device.directory() + '/' + std::to_string(hosts) + ".info";
    writeFile(path, infoText(hosts));
    return rowOf(
        {"info file, host names", hosts, 1.1}, [=] { return ostrel::CertificateInfo(path); },
        [=] { return infoByCxxtools(path); }, isSameInfo);
}

std::string importText(std::size_t size)
{
    std::string text;
    while (text.size() < size) {
        text += std::string(64, 'x') + "\r\n";
    }
    return text;
}

std::string importTextByHand(const std::string& text)
{
    std::string result;
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text[i] != '\r' || i + 1 == text.size() || text[i + 1] != '\n') {
            result += text[i];
        }
    }
    return result += '\n';
}

std::string textOfAddedFile(const std::string& message)
{
    return "0 " + textOfFile(message.substr(message.rfind('\t') + 1));
}

bool isRefused(ostrelApi::OstrelService& service, const std::string& text)
{
    try {
        service.addCA(text);
        return false;
    } catch (const ostrelApi::OstrelApiException&) {
        return true;
    }
}

// A service without directories refuses an import once the text is ready, so the row
// measures almost only the work on the text. A second service with directories and a
// peer compares the result.
Row importRow(const Device& device, std::size_t size)
{
    const std::string text = importText(size);
    const auto refuses =
        std::make_shared<ostrelApi::OstrelService>(device.addServiceWithoutDirectories("refuses"));
    const auto imports = std::make_shared<ostrelApi::OstrelService>(device.addService("imports"));
    const auto peer = std::make_shared<Peer>(device, "imports", textOfAddedFile);
    return withCheck(rowOf(
                         {"text of an import, bytes", size, 3},
                         [=] { return isRefused(*refuses, text); },
                         [=] { return importTextByHand(text); },
                         [](bool isFine, const std::string&) { return isFine; }),
                     [=] {
                         // Keeps the peer alive for the call.
                         static_cast<void>(peer);
                         return imports->addCA(text) == importTextByHand(text);
                     });
}

std::string recordText(std::size_t extensions)
{
    ostrl::CCertificateData data;
    data.subjectName.setToDefault();
    data.issuerName.setToDefault();
    ostrl::v3Ext extension;
    extension.from("obj_id 2.5.29.19|short_name basicConstraints|"
                   "long_name X509v3 Basic Constraints|comment CA:TRUE");
    data.v3Extensions.assign(extensions, extension);
    std::string text;
    data.to(text);
    return text;
}

std::string recordRead(const std::string& text)
{
    ostrl::CCertificateData data;
    data.from(text);
    std::string result;
    data.to(result);
    return result;
}

std::string linesRead(const std::string& text)
{
    std::vector<std::pair<std::string, std::string>> fields;
    for (std::string_view rest = text; !rest.empty();) {
        const std::string_view line = rest.substr(0, rest.find('\n'));
        const std::size_t key = std::min(line.find(' '), line.size());
        fields.emplace_back(line.substr(0, key), line.substr(key));
        rest.remove_prefix(line.size() + 1);
    }
    std::string result;
    for (const auto& field : fields) {
        result.append(field.first).append(field.second) += '\n';
    }
    return result;
}

} // namespace

std::vector<Row> textRows(const Device& device, Extent extent)
{
    std::vector<Row> rows;
    for (const std::size_t hosts : sizesFor(extent, {1, 100, 10000})) {
        rows.push_back(infoRow(device, hosts));
    }
    rows.push_back(importRow(device, 1000000));
    for (const std::size_t extensions : sizesFor(extent, {10, 1000})) {
        const std::string text = recordText(extensions);
        rows.push_back(rowOf(
            {"record, extensions", extensions, 0}, [=] { return recordRead(text); },
            [=] { return linesRead(text); }));
    }
    return rows;
}

} // namespace bench
