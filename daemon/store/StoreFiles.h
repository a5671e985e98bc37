#pragma once

#include "base/Files.h"
#include "base/Log.h"
#include "base/PipeFiles.h"
#include "base/Refusal.h"
#include "x509/Certificate.h"

#include <ostrel/Tools.h>
#include <ostrelApi/OstrelApiException.h>
#include <ostrelApi/OverwrittenData.h>

#include <fmt/format.h>

#include <filesystem>
#include <map>
#include <sstream>
#include <string>

#include <sys/stat.h>

namespace ostreld
{

// The group reads what is kept for it, and lists the certificates' directory.
constexpr mode_t storeFileMode = 0640;
constexpr mode_t overridesMode = 0660;
constexpr mode_t certificatesMode = 0750;
constexpr mode_t openCertificatesMode = 0751;
constexpr mode_t passThroughMode = 0710;

/// Each key and its value as one line, with a blank in between.
inline std::string linesOf(const std::map<std::string, std::string>& map)
{
    std::string text;
    for (const auto& [key, value] : map) {
        text += fmt::format("{} {}\n", key, value);
    }
    return text;
}

/// The files that the stores of both kinds have for each certificate, by the
/// paths of an ostrel::ExternalCertificatesAccessor or an
/// ostrel::InternalCertificatesAccessor.
template <class Accessor>
class StoreFiles
{
public:
    /// Others than the group may pass through the certificates' directory where
    /// a file in it has another group.
    StoreFiles(Accessor accessor, gid_t group, bool isForOthersToo = false)
        : paths(std::move(accessor)),
          lasting(paths.cachedDirectoryPath(), group, Durability::Lasting),
          fleeting(paths.tmpDirectoryPath(), group, Durability::Volatile), m_group(group),
          m_certificatesMode(isForOthersToo ? openCertificatesMode : certificatesMode)
    {
    }

    void makeDirectories() const
    {
        const std::filesystem::path cached = paths.cachedDirectoryPath();
        make(cached.parent_path().string(), m_certificatesMode, Durability::Lasting);
        make(cached.string(), passThroughMode, Durability::Lasting);
        removeUnlessOwn(paths.tmpDirectoryPath(), S_IFDIR);
        make(paths.tmpDirectoryPath(), passThroughMode, Durability::Volatile);
    }

    /// Removes every file for which `keep(path)` is false, and all scratch.
    template <class Keep>
    void removeUnless(Keep keep) const
    {
        lasting.removeScratch();
        fleeting.removeScratch();
        removeIn(paths.certificateDirectoryPath(), lasting, keep);
        removeIn(paths.cachedDirectoryPath(), lasting, keep);
        removeIn(paths.tmpDirectoryPath(), fleeting, keep);
    }

    void writeCertificate(const std::string& id, const Certificate& certificate) const
    {
        lasting.replace(paths.certPath(id), certificate.pem(), storeFileMode);
        // Applications write their overrides themselves, but make no file here.
        if (!std::filesystem::exists(paths.certOverwrittenDataPath(id))) {
            lasting.replace(paths.certOverwrittenDataPath(id), "", overridesMode);
        }
        writeSummaries(id, certificate);
    }

    /// Gives a certificate's lasting files to the group again, which may be
    /// another one than when they were written.
    void share(const std::string& id) const
    {
        lasting.share(paths.certPath(id), storeFileMode);
        lasting.share(paths.certOverwrittenDataPath(id), overridesMode);
    }

    /// Writes the volatile files of a certificate.
    void writeSummaries(const std::string& id, const Certificate& certificate) const
    {
        fleeting.update(paths.certInfoPath(id), certificate.info(), storeFileMode);
        fleeting.update(paths.certDetailsPath(id), certificate.details(), storeFileMode);
    }

    void removeCertificate(const std::string& id) const
    {
        lasting.remove(paths.certPath(id));
        lasting.remove(paths.certOverwrittenDataPath(id));
        fleeting.remove(paths.certInfoPath(id));
        fleeting.remove(paths.certDetailsPath(id));
    }

    std::string certificateText(const std::string& id) const
    {
        return readOwnFile(paths.certPath(id));
    }

    std::string detailsText(const std::string& id) const
    {
        return readOwnFile(paths.certDetailsPath(id));
    }

    /// Clients write that file, too: as much as the daemon reads of any file of
    /// theirs, or Refusal, "Action Failed".
    std::map<std::string, std::string> overrides(const std::string& id) const
    {
        const std::string path = paths.certOverwrittenDataPath(id);
        if (!std::filesystem::exists(path)) {
            return {};
        }
        try {
            std::istringstream text(readOwnFile(path, largestClientFile));
            return ostrel::Tools::getMapKeyValue(text);
        } catch (const std::runtime_error& caught) {
            throw Refusal(ActionFailed, caught.what());
        }
    }

    /// Throws Refusal, "Action Failed", for a key or a value that overrides
    /// cannot hold. What a client put beside it, by another key, stays.
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
        lasting.replace(paths.certOverwrittenDataPath(id), text, overridesMode);
    }

    const Accessor paths;
    const Replacer lasting;
    const Replacer fleeting;

private:
    void make(const std::string& directory, mode_t mode, Durability durability) const
    {
        makeDirectory(directory, mode, durability);
        setDirectoryAccess(directory, {m_group, mode});
    }

    static void judgeOverride(const std::string& key, const std::string& value)
    {
        try {
            ostrelApi::OverwrittenData("").setData(key, value);
        } catch (const ostrelApi::OstrelApiException& caught) {
            throw Refusal(ActionFailed, caught.what());
        }
    }

    template <class Keep>
    static void removeIn(const std::string& directory, const Replacer& replacer, Keep keep)
    {
        for (const auto& entry : std::filesystem::directory_iterator(directory)) {
            if (!entry.is_directory() && !keep(entry.path())) {
                logEvent("{}: removing what an interrupted change left", entry.path().string());
                replacer.remove(entry.path().string());
            }
        }
    }

    gid_t m_group;
    mode_t m_certificatesMode;
};

} // namespace ostreld
