#pragma once

#include "base/Refusal.h"
#include "store/StoreFiles.h"
#include "x509/Certificate.h"

#include <ostrel/CertificateIdCnMap.h>
#include <ostrel/Commands.h>
#include <ostrel/ExternalCertificatesAccessor.h>
#include <ostrel/ServiceConfiguration.h>

#include <cstdint>
#include <string>
#include <vector>

namespace ostreld
{

/// What the CA store and the trusted-client store differ in.
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

/// One row for each such store.
extern const StoreRow storeRows[2];

/// The certificates that come from outside of one service: the files of one
/// store and nothing else, for the disk is what the clients read.
///
/// The id list is what decides: a certificate is in the store when the list
/// names it. Everything of a certificate is in place before the list names it,
/// and leaves only after the list no longer does, so a power cut at any point
/// leaves a store that reads well; rebuild() removes what it left unnamed.
///
/// One thread at a time.
class CertificateStore
{
public:
    CertificateStore(const StoreRow& row, const ostrel::ServiceConfiguration& service, gid_t group);

    /// Makes the directories, undoes what was interrupted, and writes every
    /// volatile file anew.
    void rebuild();

    /// Adds a certificate and returns its id; throws Refusal.
    std::string add(const Certificate& certificate);

    /// Removes those of `ids` that are in the store, and returns them.
    std::vector<std::string> revoke(const std::vector<std::string>& ids);

    /// Whether the list names `id`. No other id is ever made a path.
    bool has(const std::string& id) const { return m_names.certificateIdExist(id); }

    std::vector<std::string> ids() const { return m_names.toCertificateIdList().toArray(); }
    std::vector<std::string> idsByCN(const std::string& cn) const;

    /// The files of the store.
    const StoreFiles<ostrel::ExternalCertificatesAccessor>& files() const { return m_files; }
    const StoreRow& row() const { return *m_row; }

private:
    void refuse(const Certificate& certificate) const;
    std::vector<std::string> listedIds() const;
    bool isCertificateNamed(const std::string& id) const;
    void readListedNames();
    void writeList() const;
    void writeNames() const;

    const StoreRow* m_row;
    const ostrel::ServiceConfiguration* m_service;
    StoreFiles<ostrel::ExternalCertificatesAccessor> m_files;
    // The listed ids with their common names.
    ostrel::CertificateIdCnMap m_names;
};

} // namespace ostreld
