#include "Survey.h"

#include "Deadline.h"

#include <ostrel/CertificateIdCnMap.h>
#include <ostrel/CertificateInfo.h>
#include <ostrel/ExternalCertificatesAccessor.h>
#include <ostrel/InternalCertificatesAccessor.h>

#include <cxxtools/date.h>
#include <fmt/format.h>

#include <cerrno>
#include <ctime>

#include <sys/stat.h>

namespace ostrelctl
{

namespace
{

using ostrel::CertificateInfo;
using ostrel::ExternalCertificatesAccessor;
using ostrel::InternalCertificatesAccessor;

constexpr std::int64_t day = 86400;
// The first and the last second whose year has four digits.
constexpr std::int64_t firstTime = -62167219200;
constexpr std::int64_t lastTime = 253402300799;

bool isServer(const Store& store)
{
    return store.target == ostrel::TargetServer;
}

// The names and the summaries are volatile: without them, the ids still tell.
std::map<std::string, std::string> namesIn(const std::string& path)
{
    try {
        return ostrel::CertificateIdCnMap(path).entries();
    } catch (const std::exception&) {
        return {};
    }
}

std::optional<CertificateInfo> infoIn(const std::string& path)
{
    try {
        return CertificateInfo(path);
    } catch (const std::exception&) {
        return std::nullopt;
    }
}

// "C = US, CN = web.example" gives "web.example".
std::string commonNameIn(const std::string& subject)
{
    for (const char* key : {"CN = ", "CN="}) {
        const std::size_t start = subject.find(key);
        if (start != std::string::npos) {
            const std::string name = subject.substr(start + std::string(key).size());
            return name.substr(0, name.find(','));
        }
    }
    return subject;
}

template <class Accessor>
Entry entryOf(const Accessor& paths, const std::string& id)
{
    Deadline::check();
    Entry entry{id, {}, {}};
    if (const auto info = infoIn(paths.certInfoPath(id))) {
        entry.commonName = commonNameIn(info->subjectName);
        entry.validUntil = static_cast<std::int64_t>(info->validUntil);
    }
    return entry;
}

std::vector<Entry> externalEntries(const ExternalCertificatesAccessor& paths, const Ids& ids)
{
    const auto names = namesIn(paths.cnMapPath());
    std::vector<Entry> entries;
    for (const std::string& id : ids) {
        entries.push_back(entryOf(paths, id));
        const auto name = names.find(id);
        if (name != names.end()) {
            entries.back().commonName = name->second;
        }
    }
    return entries;
}

bool isMissing(const std::string& path)
{
    struct stat status {
    };
    return ::stat(path.c_str(), &status) != 0 && errno == ENOENT;
}

} // namespace

std::vector<Entry> entriesOf(const std::string& service, const Store& store, const Ids& ids)
{
    if (!isServer(store)) {
        return externalEntries(ExternalCertificatesAccessor(service, store.word), ids);
    }
    const InternalCertificatesAccessor paths(service, store.word);
    std::vector<Entry> entries;
    for (const std::string& id : ids) {
        entries.push_back(entryOf(paths, id));
    }
    return entries;
}

std::string listPathOf(const std::string& service, const Store& store)
{
    return isServer(store) ? InternalCertificatesAccessor(service, store.word).activePath()
                           : ExternalCertificatesAccessor(service, store.word).listPath();
}

Ids idsOf(OstrelService& object, const std::string& service, const Store& store)
{
    if ((object.*store.isThere)() && isMissing(listPathOf(service, store))) {
        return {};
    }
    const Ids ids = (object.*store.list)();
    // A service without a server certificate has one empty id.
    return ids == Ids{""} ? Ids{} : ids;
}

std::string asInTheFile(std::string text)
{
    const bool isAdded = text.size() > 1 && text.compare(text.size() - 2, 2, "\n\n") == 0;
    text.resize(text.size() - (isAdded ? 1 : 0));
    return text;
}

std::int64_t daysUntil(std::int64_t time)
{
    const std::int64_t left = time - std::time(nullptr);
    return left >= 0 ? left / day : -((-left + day - 1) / day);
}

std::string timeText(std::int64_t time)
{
    if (time < firstTime || time > lastTime) {
        return std::to_string(time);
    }
    // By days, for a time_t may have 32 bits.
    const std::int64_t days = time / day - (time % day < 0 ? 1 : 0);
    const std::int64_t rest = time - days * day;
    const cxxtools::Date date = cxxtools::Date(1970, 1, 1) + static_cast<int>(days);
    return fmt::format("{}T{:02}:{:02}:{:02}Z", date.toString("%Y-%m-%d"), rest / 3600,
                       rest / 60 % 60, rest % 60);
}

Json jsonOf(const Entry& entry)
{
    Json json = {{"id", entry.id},
                 {"commonName", entry.commonName},
                 {"validUntil", nullptr},
                 {"daysLeft", nullptr}};
    if (entry.validUntil) {
        json["validUntil"] = timeText(*entry.validUntil);
        json["daysLeft"] = daysUntil(*entry.validUntil);
    }
    return json;
}

} // namespace ostrelctl
