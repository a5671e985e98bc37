#include <ostrel/CertificateInfo.h>

#include <ostrel/Tools.h>

#include "store/JsonText.h"
#include "tools/InFlight.h"
#include "tools/TextFile.h"

#include <cxxtools/jsondeserializer.h>
#include <cxxtools/serializationinfo.h>
#include <cxxtools/utf8codec.h>

#include <ios>
#include <ostream>
#include <sstream>
#include <stdexcept>

namespace ostrel
{

namespace
{

using Node = cxxtools::SerializationInfo;

// cxxtools itself reads a null, a list or an unknown word as an empty value.
const Node& scalar(const Node& node)
{
    if (node.category() != Node::Value || node.isNull()) {
        throw std::runtime_error("not a single value");
    }
    return node;
}

template <class Value>
void take(const Node& node, Value& value)
{
    scalar(node).getValue(value);
}

// Reads into a string type of cxxtools: std::string would lose all but Latin-1.
void take(const Node& node, std::string& value)
{
    cxxtools::String characters;
    scalar(node).getValue(characters);
    value = cxxtools::Utf8Codec::encode(characters);
}

void take(const Node& node, std::uint64_t& value)
{
    unsigned long long number = 0;
    scalar(node).getValue(number);
    value = number;
}

void take(const Node& node, std::vector<std::string>& values)
{
    if (node.category() != Node::Array) {
        throw std::runtime_error("not a list");
    }
    values.clear();
    values.reserve(node.memberCount());
    for (const Node& element : node) {
        std::string value;
        take(element, value);
        values.push_back(value);
    }
}

void takeMembers(const Node& root, CertificateInfo& info)
{
    std::int32_t version = 0;
    take(root.getMember("data_structure_version"), version);
    // Intended: only positive versions have the members.
    if (version <= 0) {
        return;
    }
    take(root.getMember("issuerName"), info.issuerName);
    take(root.getMember("subjectName"), info.subjectName);
    take(root.getMember("isCA"), info.isCA);
    take(root.getMember("isSelfSigned"), info.isSelfSigned);
    take(root.getMember("validFrom"), info.validFrom);
    take(root.getMember("validUntil"), info.validUntil);
    take(root.getMember("validIPs"), info.validIPs);
    take(root.getMember("validHostnames"), info.validHostnames);
}

std::string readWhole(const std::string& path)
{
    TextFile file = readTextFile(path);
    if (!file.isOpen || !file.isComplete) {
        // The text of the failure must be that of a failed stream.
        std::istringstream stream;
        stream.exceptions(std::ios::failbit);
        stream.setstate(std::ios::failbit);
    }
    return std::move(file.text);
}

void readDocument(const std::string& path, CertificateInfo& info)
{
    cxxtools::JsonDeserializer document;
    readJsonText(readWhole(path), document);
    document.deserialize(info);
}

void addNumbered(std::map<std::string, std::string>& map, const std::string& prefix,
                 const std::vector<std::string>& values)
{
    for (std::size_t i = 0; i < values.size(); ++i) {
        map[prefix + std::to_string(i + 1)] = values[i];
    }
}

// Intended: every line has the number 1, unlike the map's keys.
void writeLines(std::ostream& out, const char* prefix, const std::vector<std::string>& values)
{
    for (const std::string& value : values) {
        out << prefix << "1: " << value << '\n';
    }
}

} // namespace

CertificateInfo::CertificateInfo() = default;

CertificateInfo::CertificateInfo(const std::string& path)
{
    read(path);
}

CertificateInfo::~CertificateInfo() = default;

void CertificateInfo::read(const std::string& path)
{
    const std::string reading = path + " for reading!";
    const std::string impossible = "Error: Impossible to open " + reading;
    if (!Tools::fileExist(path)) {
        throw std::runtime_error(impossible + " Because the file does not exist.");
    }
    try {
        readDocument(path, *this);
    } catch (const std::ios_base::failure& caught) {
        throw std::runtime_error(impossible + textOf(caught));
    } catch (...) {
        throw std::runtime_error("Generic exception caught while opening " + reading);
    }
}

std::map<std::string, std::string> CertificateInfo::getMap() const
{
    std::map<std::string, std::string> map = {
        {"issuedTo", subjectName},
        {"issuedBy", issuerName},
        {"CA", boolToString(isCA)},
        {"CASigned", boolToString(!isSelfSigned)},
        {"selfSigned", boolToString(isSelfSigned)},
        {"validFrom", std::to_string(validFrom)},
        {"validUntil", std::to_string(validUntil)},
    };
    addNumbered(map, "IP.", validIPs);
    addNumbered(map, "DNS.", validHostnames);
    return map;
}

std::ostream& operator<<(std::ostream& out, const CertificateInfo& info)
{
    out << "issuerName: " << info.issuerName << '\n'
        << "subjectName: " << info.subjectName << '\n'
        << "CA: " << boolToString(info.isCA) << '\n'
        << "CASigned: " << boolToString(!info.isSelfSigned) << '\n'
        << "selfSigned: " << boolToString(info.isSelfSigned) << '\n'
        << "validFrom: " << info.validFrom << '\n'
        << "validUntil: " << info.validUntil << '\n';
    writeLines(out, "IP.", info.validIPs);
    writeLines(out, "DNS.", info.validHostnames);
    return out.flush();
}

void operator>>=(const cxxtools::SerializationInfo& root, CertificateInfo& info)
{
    try {
        takeMembers(root, info);
    } catch (...) {
        throw std::runtime_error("Error: Bad format for Certificate info file!");
    }
}

std::string boolToString(bool value)
{
    return value ? "yes" : "no";
}

} // namespace ostrel
