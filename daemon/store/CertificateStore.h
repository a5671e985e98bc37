#pragma once

#include "base/Refusal.h"
#include "store/SortedLines.h"
#include "store/StoreFiles.h"
#include "x509/Certificate.h"

#include <ostrel/Commands.h>
#include <ostrel/ExternalCertificatesAccessor.h>
#include <ostrel/ServiceConfiguration.h>

#include <cstdint>
#include <map>
#include <string>
#include <vector>

namespace ostreld
{

/// The differences between the CA store and the trusted-client store.
struct StoreRow {
    ostrel::TypeTarget target;
    const char* word;
    bool ostrel::ServiceConfiguration::*isOn;
    std::uint16_t ostrel::ServiceConfiguration::*maximum;
    bool ostrel::ServiceConfiguration::*isUniqueByCn;
    bool takesOnlyCAs;
    ReturnCode bad;
    ReturnCode failedToAdd;
    ReturnCode tooMany;
    ReturnCode exists;
};

/// One row for each of the two stores.
extern const StoreRow storeRows[2];

/// The store of the CAs or the trusted clients of a service: its files, and what is known
/// about them.
///
/// The id list decides: a certificate is in the store if the list names it. The files of a
/// certificate are complete before the list names it, and are removed after the list has
/// ceased to name it. So a power cut at any point leaves a consistent store; rebuild()
/// removes the files that nothing names. A change that throws, also std::bad_alloc, changes
/// neither memory nor disk.
///
///     CertificateStore next(row, newConfiguration, group);
///     next.beginRebuild(&current);
///     while (next.rebuildSome(16)) {
///         // `current` answers queries
///     }
///     current = std::move(next);
///
/// Move-only; not for several threads at a time.
class CertificateStore
{
public:
    CertificateStore(const StoreRow& row, const ostrel::ServiceConfiguration& service, gid_t group);

    /// Creates the directories and reads the list. `former` is a store of the same files; it
    /// may answer and change during the rebuild, and must outlive it. A certificate that
    /// `former` knows is not read again unless it has changed.
    void beginRebuild(const CertificateStore* former = nullptr);

    /// Continues for `steps` certificates or files: gives them to the group, writes volatile
    /// files that are missing or wrong, and removes files that nothing names. Returns whether
    /// work is left. After an exception only `former` can be used.
    [[nodiscard]] bool rebuildSome(std::size_t steps);

    /// Does the whole rebuild at once.
    void rebuild(const CertificateStore* former = nullptr);

    /// Adds a certificate and returns its id; throws Refusal.
    std::string add(const Certificate& certificate);

    /// Removes those of `ids` that are in the store, and returns them. If one of `ids` does
    /// not have the form of an id, throws Refusal and changes nothing. Works on a full disk.
    /// Files that cannot be removed are left to retryRemovals().
    std::vector<std::string> revoke(const std::vector<std::string>& ids);

    /// Tries again the work that failed after a change. Returns whether nothing is left.
    bool retryRemovals() noexcept;

    /// Whether the list names `id`. Only such an id becomes part of a path.
    bool has(const std::string& id) const { return m_entries.count(id) != 0; }

    std::vector<std::string> ids() const;
    std::vector<std::string> idsByCN(const std::string& cn) const;

    /// The files of the store.
    const StoreFiles<ostrel::ExternalCertificatesAccessor>& files() const { return m_files; }
    const StoreRow& row() const { return *m_row; }

private:
    struct Entry {
        std::string commonName;
        CertificateStamps stamps;
    };
    using Entries = std::map<std::string, Entry>;
    static constexpr char spareName[] = ".spare";
    enum class Stage { Reading, Cleaning, Writing, Done };

    void refuse(const std::string& id, const Certificate& certificate) const;
    void judge(const std::string& id) const;
    Summaries summariesOf(const Certificate& certificate) const;
    void putInPlace(const std::string& id, const std::string& pem, const Summaries& summaries);
    void shortenList(const std::string& list);
    void keepSpare();
    bool settle(bool isLogged) noexcept;
    void enter(const std::string& id, const std::string& commonName);
    void forget(const std::string& id) noexcept;
    void writeNames() const;
    static const std::string& fileTextOf(const SortedLines& list);

    void rebuildOne();
    void readNext();
    bool isToBeListed(const std::string& id) const;
    bool isCertificateNamed(const std::string& id) const;
    const Entry* find(const std::string& id) const;
    void refresh(const std::string& id, Entry& entry) const;
    void cleanNext();
    bool isNeeded(const std::string& name) const;
    void finishRebuild();
    FileStamp listStamp() const;

    const StoreRow* m_row;
    const ostrel::ServiceConfiguration* m_service;
    // The start of each log line.
    std::string m_title;
    StoreFiles<ostrel::ExternalCertificatesAccessor> m_files;
    // The listed certificates, and the texts that name them.
    Entries m_entries;
    SortedLines m_list;
    SortedLines m_names;
    // The size of the spare file, whose room a shorter list takes on a full disk.
    std::size_t m_spareSize = 0;
    Leftovers m_leftovers;
    bool m_isMapStale = false;

    // The state of a rebuild.
    Stage m_stage = Stage::Done;
    const CertificateStore* m_former = nullptr;
    FileStamp m_listStamp;
    bool m_isListLost = false;
    // The ids to read, from the last to the first.
    std::vector<std::string> m_toRead;
    // The number of directories that are cleaned or being cleaned, and the names in the last
    // one.
    std::size_t m_cleaned = 0;
    DirectoryNames m_toClean;
};

} // namespace ostreld
