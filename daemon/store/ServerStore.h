#pragma once

#include "base/Refusal.h"
#include "store/StoreFiles.h"
#include "x509/Certificate.h"
#include "x509/Key.h"
#include "x509/RequestProfile.h"

#include <ostrel/InternalCertificatesAccessor.h>
#include <ostrel/ServiceConfiguration.h>

#include <cstdint>
#include <string>
#include <vector>

namespace ostreld
{

/// A service's own certificate: the one in use with its key, and the signing
/// request that is pending.
///
/// The file that names the certificate in use is what decides. A new set of
/// files is in place before it is named, and the set that was in use before
/// stays until the next change, so a reader who took the name a moment ago still
/// finds what it names. Keys are readable by the daemon and the key group alone.
///
/// One thread at a time.
class ServerStore
{
public:
    ServerStore(const ostrel::ServiceConfiguration& service, gid_t group);

    /// Makes the directories, undoes what was interrupted, and writes every
    /// volatile file anew.
    void rebuild();

    /// Makes a new key and a request, which replace a pending one.
    void createRequest(bool isCompliant);
    bool isRequestPending() const;
    /// The pending request as PEM text; throws Refusal.
    std::string requestText() const;
    /// When it was made, seconds since 1970 UTC.
    std::int64_t requestTime() const;

    /// Puts the certificate that answers the pending request in use.
    void apply(const std::string& pem);

    /// Makes a key and a certificate signed by it, and puts it in use.
    void generateSelfSigned(std::uint32_t days);

    /// Takes the certificate in use, and its key, away.
    void revoke();

    /// The id of the certificate in use; throws Refusal when there is none.
    const std::string& active() const;
    bool hasActive() const { return !m_active.empty(); }

    /// Whether a user may read the key in use: the daemon's own, and a member of
    /// the key group.
    bool mayReadKey(uid_t user) const;

    /// The key in use as PEM text, which the caller wipes; throws Refusal.
    std::string keyText() const;

    /// Whether the service is to get a certificate of the daemon's making now:
    /// it has none and should, or the one that the daemon made ends soon.
    bool isSelfSignedDue(std::int64_t now) const;

    /// Whether the device's addresses differ from those in the certificate that
    /// the daemon made.
    bool isNetworkOutdated() const;

    const StoreFiles<ostrel::InternalCertificatesAccessor>& files() const { return m_files; }

private:
    void readActive();
    bool isWhole(const std::string& id) const;
    bool isNeeded(const std::filesystem::path& path) const;
    std::string pendingKeyText() const;
    void finishRequest() const;
    void discardHalfRequest() const;
    void shareAgain() const;
    void putInUse(const Certificate& certificate, const std::string& keyPem,
                  const std::string& network);
    void writeSet(const Certificate& certificate, const std::string& keyPem,
                  const std::string& network);
    void removeSet(const std::string& id) const;
    void removeRequest() const;
    Certificate activeCertificate() const;

    const ostrel::ServiceConfiguration* m_service;
    StoreFiles<ostrel::InternalCertificatesAccessor> m_files;
    // For keys alone: their group, where they have one.
    Replacer m_lastingKeys;
    mode_t m_keyMode;
    std::string m_active;
    std::string m_former;
};

} // namespace ostreld
