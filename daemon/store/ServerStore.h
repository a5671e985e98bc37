#pragma once

#include "base/Refusal.h"
#include "base/SecretText.h"
#include "store/StoreFiles.h"
#include "x509/Certificate.h"
#include "x509/Key.h"

#include <ostrel/InternalCertificatesAccessor.h>
#include <ostrel/ServiceConfiguration.h>

#include <cstdint>
#include <string>
#include <string_view>

namespace ostreld
{

/// A service's own certificate: the one in use with its key, and the pending request. This
/// class only reads and writes files. Its caller makes keys, requests and certificates, and
/// looks up the names of the device.
///
/// The file that names the certificate in use decides. The files of a new certificate are
/// complete before it names them. The files of the former certificate stay until the next
/// change, so a reader that has just read its name still finds them. The request file decides
/// about its key and addresses in the same way. Only the daemon and the key group can read
/// keys. A change that throws, also std::bad_alloc, changes neither memory nor disk.
///
/// Move-only; not for several threads at a time.
class ServerStore
{
public:
    ServerStore(const ostrel::ServiceConfiguration& service, gid_t group);

    /// Creates the directories, completes or undoes an interrupted change, and writes
    /// volatile files that are missing or wrong.
    void rebuild();

    /// Replaces the pending request by this one, with its key and its network text.
    void putRequest(std::string_view keyPem, const std::string& requestPem,
                    const std::string& network);
    bool isRequestPending() const;
    /// The pending request as PEM text; throws Refusal.
    std::string requestText() const;
    /// The time of the request in seconds since 1970 UTC; 0 if no request is pending.
    std::int64_t requestTime() const;

    /// Puts in use the certificate that answers the pending request.
    void apply(const std::string& pem);

    /// Puts a certificate in use, with its key and its network text.
    void putInUse(const Certificate& certificate, std::string_view keyPem,
                  const std::string& network);

    /// Removes the certificate in use and its key. Files that cannot be removed are left to
    /// retryRemovals().
    void revoke();

    /// Tries again the work that failed after a change. Returns whether nothing is left.
    bool retryRemovals() noexcept;

    /// The id of the certificate in use; throws Refusal if no certificate is in use.
    const std::string& active() const;
    bool hasActive() const { return !m_active.empty(); }

    /// Whether callers may get the key: the key group is the group that may call.
    bool isKeyForCallers() const { return m_isKeyForCallers; }

    /// The key in use as PEM text; throws Refusal.
    SecretText keyText() const;

    /// Whether a self-signed certificate is due: no certificate is in use and the
    /// configuration requests one; or the self-signed one expires soon, or is not yet valid
    /// because the clock was set back.
    bool isSelfSignedDue(std::int64_t now) const;

    /// The network text of the certificate in use; throws Refusal.
    std::string activeNetwork() const;

    /// Whether the certificate in use is self-signed by the daemon, so that a change of the
    /// device's addresses replaces it.
    bool followsNetwork() const;

    const StoreFiles<ostrel::InternalCertificatesAccessor>& files() const { return m_files; }

private:
    void readActive();
    bool isWhole(const std::string& id) const;
    bool isNeeded(const std::string& name) const;
    bool isOfRequest(const std::string& name) const;
    void removeUnneeded(const Directory& directory) const;
    SecretText pendingKeyText() const;
    std::string pendingNetwork() const;
    bool isNextPending() const;
    void finishRequest() const;
    void discardHalfRequest();
    void shareAgain() const;
    void writeSet(const Certificate& certificate, std::string_view keyPem,
                  const std::string& network) const;
    void removeSet(const std::string& id) const;
    void removeRequest() const;
    void doRequestWork() const;
    void removeNextFiles() const;
    bool settle(bool isLogged) noexcept;
    Certificate activeCertificate() const;

    const ostrel::ServiceConfiguration* m_service;
    StoreFiles<ostrel::InternalCertificatesAccessor> m_files;
    Access m_keyAccess;
    bool m_isKeyForCallers;
    std::string m_active;
    std::string m_former;
    Leftovers m_leftovers;
    // The work that is left for the files of the request.
    enum class RequestWork { None, Finish, Remove };
    RequestWork m_requestWork = RequestWork::None;
};

} // namespace ostreld
