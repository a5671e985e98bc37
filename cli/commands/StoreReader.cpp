#include "commands/StoreReader.h"

#include "engine/Deadline.h"
#include "failure/Failure.h"

#include <ostrel/CertificateIdCnMap.h>
#include <ostrel/CertificateInfo.h>
#include <ostrel/ExternalCertificatesAccessor.h>
#include <ostrel/InternalCertificatesAccessor.h>

#include <cerrno>

#include <sys/stat.h>

namespace ostrelctl
{

namespace
{

using ostrel::CertificateInfo;
using ostrel::ExternalCertificatesAccessor;
using ostrel::InternalCertificatesAccessor;

constexpr off_t mostOverrides = 1 << 20;

bool isServer(const Store& store)
{
    return store.target == ostrel::TargetServer;
}

// Names and summaries are in volatile files. Without them, the ids remain.
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

/// The file with the ids of a store, or with the active id.
std::string listPathOf(const std::string& service, const Store& store)
{
    return isServer(store) ? InternalCertificatesAccessor(service, store.word).activePath()
                           : ExternalCertificatesAccessor(service, store.word).listPath();
}

std::string overridesPathOf(const std::string& service, const Store& store, const std::string& id)
{
    return isServer(store)
               ? InternalCertificatesAccessor(service, store.word).certOverwrittenDataPath(id)
               : ExternalCertificatesAccessor(service, store.word).certOverwrittenDataPath(id);
}

void requireReadableSize(const std::string& path)
{
    struct stat status {
    };
    if (::stat(path.c_str(), &status) == 0 && status.st_size > mostOverrides) {
        throw Failure(
            ExitStatus::Failed, path + " is larger than 1 MiB",
            "neither the daemon nor ostrelctl reads such a file; an application wrote it");
    }
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

Ids idsOf(OstrelService& object, const std::string& service, const Store& store)
{
    if ((object.*store.isThere)() && isMissing(listPathOf(service, store))) {
        return {};
    }
    const Ids ids = (object.*store.list)();
    // A service without a server certificate has one empty id.
    return ids == Ids{""} ? Ids{} : ids;
}

ostrelApi::OverwrittenData overridesOf(OstrelService& object, const std::string& service,
                                       const Store& store, const std::string& id)
{
    requireReadableSize(overridesPathOf(service, store, id));
    return (object.*store.overrides)(id);
}

std::string asInTheFile(std::string text)
{
    const bool isAdded = text.size() > 1 && text.compare(text.size() - 2, 2, "\n\n") == 0;
    text.resize(text.size() - (isAdded ? 1 : 0));
    return text;
}

} // namespace ostrelctl
