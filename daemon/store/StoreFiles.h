#pragma once

#include "base/Files.h"
#include "base/Log.h"
#include "base/PipeFiles.h"
#include "base/Refusal.h"
#include "x509/Certificate.h"

#include <ostrel/Tools.h>
#include <ostrelApi/OstrelApiException.h>
#include <ostrelApi/OverwrittenData.h>

#include <map>
#include <set>
#include <sstream>
#include <string>
#include <string_view>

namespace ostreld
{

// The group reads these files, and lists the directory of the certificates.
constexpr mode_t storeFileMode = 0640;
constexpr mode_t overridesMode = 0660;
constexpr mode_t certificatesMode = 0750;
constexpr mode_t openCertificatesMode = 0751;
constexpr mode_t passThroughMode = 0710;

/// Each key and its value on one line, separated by a blank.
inline std::string linesOf(const std::map<std::string, std::string>& map)
{
    std::string text;
    for (const auto& [key, value] : map) {
        text.append(key).append(1, ' ').append(value).append(1, '\n');
    }
    return text;
}

/// The name of the file `path` in its directory.
inline std::string nameOf(const std::string& path)
{
    return path.substr(path.rfind('/') + 1);
}

/// Does work that follows a change that stands. Returns whether it succeeded, and logs a
/// failure after `what` if `isLogged`.
template <class Work>
bool attempt(const std::string& what, bool isLogged, Work work) noexcept
{
    try {
        work();
        return true;
    } catch (const std::exception& caught) {
        if (isLogged) {
            logEvent("{}: {}", what, caught.what());
        }
        return false;
    }
}

/// The texts of a certificate's volatile files.
struct Summaries {
    explicit Summaries(const Certificate& certificate)
        : info(certificate.info()), details(certificate.details())
    {
    }

    std::string info;
    std::string details;
};

/// The states of a certificate's files when the daemon last wrote or checked them.
struct CertificateStamps {
    FileStamp certificate;
    FileStamp info;
    FileStamp details;
};

inline bool operator==(const CertificateStamps& left, const CertificateStamps& right)
{
    return left.certificate == right.certificate && left.info == right.info &&
           left.details == right.details;
}

/// The certificates whose files could not be removed yet.
class Leftovers
{
public:
    /// Moves `ids` here without an allocation, so that it cannot fail after a change.
    void take(std::set<std::string>& ids) noexcept { m_ids.merge(ids); }

    /// Calls `remove` with each id, and drops the ids for which it does not throw. Returns
    /// whether none is left.
    template <class Remove>
    bool retry(const std::string& what, bool isLogged, Remove remove) noexcept
    {
        for (auto id = m_ids.begin(); id != m_ids.end();) {
            const bool isGone = attempt(what, isLogged, [&] { remove(*id); });
            id = isGone ? m_ids.erase(id) : std::next(id);
        }
        return m_ids.empty();
    }

private:
    std::set<std::string> m_ids;
};

/// The files of each certificate, which the stores of both kinds have. An
/// ostrel::ExternalCertificatesAccessor or ostrel::InternalCertificatesAccessor gives the
/// paths. Move-only.
template <class Accessor>
class StoreFiles
{
public:
    /// `isForOthersToo`: any user may pass through the directory of the certificates, because
    /// a file in it belongs to another group.
    StoreFiles(Accessor accessor, gid_t ownGroup, bool isForOthersToo = false)
        : paths(std::move(accessor)),
          certificates(paths.certificateDirectoryPath(), Durability::Persistent),
          cached(paths.cachedDirectoryPath(), Durability::Persistent),
          volatiles(paths.tmpDirectoryPath(), Durability::Volatile), group(ownGroup),
          m_certificatesMode(isForOthersToo ? openCertificatesMode : certificatesMode)
    {
    }

    void makeDirectories()
    {
        certificates.make({group, m_certificatesMode});
        cached.make({group, passThroughMode});
        removeUnlessOwn(volatiles.path(), S_IFDIR);
        volatiles.make({group, passThroughMode});
    }

    /// Writes a text file that the group reads.
    FileStamp write(const Directory& directory, const std::string& name,
                    std::string_view text) const
    {
        return directory.replace(name, text, {group, storeFileMode}, scratchOf(directory));
    }

    /// The same, unless the file contains that text.
    FileStamp update(const Directory& directory, const std::string& name,
                     std::string_view text) const
    {
        return directory.update(name, text, {group, storeFileMode}, scratchOf(directory));
    }

    CertificateStamps writeCertificate(const std::string& id, const std::string& pem,
                                       const Summaries& summaries) const
    {
        CertificateStamps stamps;
        stamps.certificate = write(certificates, id, pem);
        stamps.info = write(volatiles, nameOf(paths.certInfoPath(id)), summaries.info);
        stamps.details = write(volatiles, nameOf(paths.certDetailsPath(id)), summaries.details);
        return stamps;
    }

    /// Applications write their overrides, but cannot create files here. The file is not
    /// synced: the next start creates a missing one.
    void makeOverrides(const std::string& id) const
    {
        cached.create(nameOf(paths.certOverwrittenDataPath(id)), {group, overridesMode});
    }

    /// Gives a certificate's files to the group, which may have changed since they were
    /// written, and returns their states.
    CertificateStamps share(const std::string& id) const
    {
        const std::string overridesName = nameOf(paths.certOverwrittenDataPath(id));
        if (cached.share(overridesName, {group, overridesMode}).inode == 0) {
            makeOverrides(id);
        }
        const Access access = {group, storeFileMode};
        return {certificates.share(id, access),
                volatiles.share(nameOf(paths.certInfoPath(id)), access),
                volatiles.share(nameOf(paths.certDetailsPath(id)), access)};
    }

    /// Writes the volatile files of a certificate where they differ.
    void updateSummaries(const std::string& id, const Summaries& summaries,
                         CertificateStamps& stamps) const
    {
        stamps.info = update(volatiles, nameOf(paths.certInfoPath(id)), summaries.info);
        stamps.details = update(volatiles, nameOf(paths.certDetailsPath(id)), summaries.details);
    }

    /// Removes a certificate's files. Does not sync, because the next start removes files
    /// that nothing names. Throws std::runtime_error if a file remains.
    void removeCertificate(const std::string& id) const
    {
        removeEach({{&certificates, id},
                    {&cached, nameOf(paths.certOverwrittenDataPath(id))},
                    {&volatiles, nameOf(paths.certInfoPath(id))},
                    {&volatiles, nameOf(paths.certDetailsPath(id))}});
    }

    /// Removes a file that an interrupted change left, but no directory. Logs a failure.
    void removeUnless(bool isNeeded, const Directory& directory, const std::string& name) const
    {
        const auto found = isNeeded ? std::nullopt : directory.status(name);
        if (found && !S_ISDIR(found->st_mode)) {
            logEvent("{}: removing what an interrupted change left", directory.pathOf(name));
            attempt("at the start", true, [&] { directory.unlink(name); });
        }
    }

    std::string certificateText(const std::string& id) const { return certificates.read(id); }

    std::string detailsText(const std::string& id) const
    {
        return volatiles.read(nameOf(paths.certDetailsPath(id)));
    }

    /// Clients write this file, too. Throws Refusal, "Action Failed", if it is larger than
    /// the daemon accepts of a client.
    std::map<std::string, std::string> overrides(const std::string& id) const
    {
        const std::string name = nameOf(paths.certOverwrittenDataPath(id));
        if (!cached.has(name)) {
            return {};
        }
        try {
            std::istringstream text(cached.read(name, largestClientFile));
            return ostrel::Tools::getMapKeyValue(text);
        } catch (const std::runtime_error& caught) {
            throw Refusal(ActionFailed, caught.what());
        }
    }

    /// Throws Refusal, "Action Failed", for an invalid key or value. Keeps the overrides that
    /// clients wrote with other keys.
    void setOverride(const std::string& id, const std::string& key, const std::string& value) const
    {
        judgeOverride(key, value);
        auto all = overrides(id);
        all[key] = value;
        if (value.empty()) {
            all.erase(key);
        }
        const std::string text = linesOf(all);
        if (text.size() > largestClientFile) {
            throw Refusal(ActionFailed, "no room for more overrides");
        }
        cached.replace(nameOf(paths.certOverwrittenDataPath(id)), text, {group, overridesMode},
                       cached);
    }

    /// The group lists the directory of the certificates, so new files are written elsewhere.
    const Directory& scratchOf(const Directory& directory) const
    {
        return &directory == &volatiles ? volatiles : cached;
    }

    Accessor paths;
    Directory certificates;
    Directory cached;
    Directory volatiles;
    gid_t group;

private:
    static void judgeOverride(const std::string& key, const std::string& value)
    {
        try {
            ostrelApi::OverwrittenData("").setData(key, value);
        } catch (const ostrelApi::OstrelApiException& caught) {
            throw Refusal(ActionFailed, caught.what());
        }
    }

    mode_t m_certificatesMode;
};

} // namespace ostreld
