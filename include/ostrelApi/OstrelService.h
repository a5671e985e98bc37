#pragma once

#include <ostrel/Commands.h>
#include <ostrel/Export.h>
#include <ostrelApi/CallError.h>
#include <ostrelApi/ConfiguredField.h>
#include <ostrelApi/OstrelApiException.h>
#include <ostrelApi/OverwrittenData.h>
#include <ostrl/CCSRData.h>
#include <ostrl/CCertificateData.h>

#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <vector>

namespace ostrel
{
class ExternalCertificatesAccessor;
class InternalCertificatesAccessor;
class ServiceConfiguration;
} // namespace ostrel

namespace ostrelApi
{

struct ServicePipes;

/// One service of the device, and the certificates that the daemon keeps for
/// it: up to three stores, which are its own server certificate, the
/// certificate authorities (CAs) that it trusts, and its trusted clients.
///
///     ostrelApi::OstrelService web("web");
///     std::string id = web.addCAFile("root.pem");
///     for (const std::string& ca : web.getCAList()) ...
///     web.revokeCA(id);
///
/// Queries read the daemon's files. Changes, isServiceRunning() and the four
/// operations that return a record ask the daemon, by one command for each
/// call; docs/PROTOCOL.md shows the steps and the bytes of one.
///
/// Blocking: what reads files waits for nobody. What asks the daemon waits,
/// without a limit, as long as the daemon takes, and where a daemon was killed,
/// for the next one; but while another thread or process asks for the same
/// service, it fails at once with return code 2, "Api is locked".
///
/// Threads: an object never changes once built, so any thread may call any of
/// its members at any time, and calls that ask for one service exclude each other as
/// above. Not for signal handlers.
///
/// Ownership: the object owns what it was built from, results belong to the
/// caller, and nothing stays open between calls.
///
/// Errors: OstrelApiException, by the daemon's return code. "Error 7" below
/// stands for one of return code 7. Every operation on a store that the service
/// does not have fails with error 7 before it does anything; the workers at the
/// end ask for no store. What asks the daemon may fail with 11 (it was ended, or
/// never ran), 3 (its lock cannot be opened), 2 (locked), 1 (the exchange
/// failed), with the daemon's own code, or, whatever is told below, with a
/// std::runtime_error that carries the text of EINTR when a signal interrupted
/// the wait for the reply.
class OSTREL_API OstrelService
{
public:
    /// Reads the service's configuration. Throws std::runtime_error when it is
    /// missing or refused, or the daemon's own configuration is.
    explicit OstrelService(const std::string& serviceName);

    /// Leaves the lock of a call that another thread makes as it is.
    virtual ~OstrelService();
    OstrelService(const OstrelService&) = delete;
    OstrelService& operator=(const OstrelService&) = delete;

    // The order of the virtual operations is fixed: programs that were built
    // against an earlier release of this library rely on it.

    /// Whether the service has a store for its server certificate.
    virtual bool hasServer() const;
    /// Whether the service has a store of CAs.
    virtual bool hasCA() const;
    /// How many CAs it takes at most; 0 stands for no limit.
    virtual unsigned short maxCA() const;
    /// Whether the service has a store of trusted clients.
    virtual bool hasTrustedClient() const;
    /// How many trusted clients it takes at most; 0 stands for no limit.
    virtual unsigned short maxTrustedClient() const;

    /// The service's name for people, from its configuration.
    virtual std::string getServiceName() const;

    /// Asks the daemon whether it serves this service. A daemon that was ended,
    /// or never ran, is error 11, not false; after one that was killed it waits
    /// for the next one.
    virtual bool isServiceRunning();

    /// Has the daemon read the service's configuration again. This object
    /// keeps the configuration that it was built with.
    virtual void reloadService();

    /// @{
    /// Has the daemon make a new key and a signing request (CSR), which is then
    /// pending; with `fields`, one that complies with what they ask.
    virtual void createServerCsr();
    virtual void createServerCsr(const ConfiguredField& fields);
    /// @}

    /// @{
    /// Hands the certificate that answers the pending request to the daemon, as
    /// PEM text or as a PEM file. Error 21 when no request is pending, error 1
    /// for whatever else goes wrong.
    virtual void applyServerCertificate(const std::string& certificate);
    virtual void applyServerCertificateFile(const std::string& path);
    /// @}

    /// Revokes the certificate in use, whatever `id` says.
    virtual void revokeServerCertificate(const std::string& id);

    /// The pending request as PEM text, and one line feed; error 21 when there
    /// is none.
    virtual std::string getServerCsr();
    /// When the pending request was made, in seconds since 1970 UTC; 0 when
    /// there is none. It is the time of the file's last change of status, which
    /// a change of its mode or owner moves.
    virtual std::int64_t getServerCsrTimestamp();
    /// What the pending request says, asked of the daemon; error 21 when there
    /// is none.
    virtual ostrl::CCSRData getCsrInfo();

    /// @{
    /// What a certificate says, asked of the daemon: of a trusted client, of a
    /// CA, and the server certificate in use. Error 40, 30 or 20 when it is
    /// missing; error 1 when the file that names the one in use cannot be opened.
    virtual ostrl::CCertificateData getTrustedClientCertInfo(const std::string& id);
    virtual ostrl::CCertificateData getCACertInfo(const std::string& id);
    virtual ostrl::CCertificateData getServerCertInfo();
    /// @}

    // Below, an empty id stands for the server certificate in use; error 1
    // when the file that names it cannot be opened.

    /// The certificate's full text; error 1 when there is none.
    virtual std::string getServerCertificateDetails(const std::string& id);

    /// Whether the service's key is held in a TPM, whatever the certificate.
    virtual bool isServerKeyInTPM(const std::string& id);

    /// The private key as PEM text, and one line feed; error 1 when it cannot
    /// be opened.
    virtual std::string getServerKey(const std::string& id);
    /// The certificate as PEM text; error 20 when it is missing or cannot be
    /// read.
    virtual std::string getServerCertificate(const std::string& id);
    /// The path of the certificate; error 1 when it cannot be opened.
    virtual std::string getServerCertificatePath(const std::string& id);

    /// The settings that applications have attached to the certificate.
    virtual OverwrittenData getServerCertificateOverwrittenData(const std::string& id);

    /// The certificate's summary: "issuedTo", "issuedBy", "CA", "CASigned",
    /// "selfSigned" ("yes" or "no"), "validFrom", "validUntil" (seconds since
    /// 1970 UTC), and "IP.1", "IP.2", ..., "DNS.1", ... Throws
    /// std::runtime_error when the summary is missing or malformed.
    virtual std::map<std::string, std::string> getServerCertificateInfo(const std::string& id);

    /// The id of the certificate in use, alone.
    virtual std::vector<std::string> getServerCertificateList();

    /// @{
    /// Adds one CA, given as PEM text or as a PEM file, and returns what the
    /// daemon says of it: its id. Error 1 for whatever goes wrong, the daemon's
    /// refusals included; the debug trace tells the reason.
    virtual std::string addCA(const std::string& certificate);
    virtual std::string addCAFile(const std::string& path);
    /// @}

    /// Revokes one CA; error 30 unless the daemon says that it revoked it.
    virtual void revokeCA(const std::string& id);
    /// Revokes several and returns the ids that were revoked, ascending.
    virtual std::vector<std::string> revokeCA(const std::vector<std::string>& ids);

    /// The ids of all CAs, ascending. Error 1 when the list cannot be read.
    virtual std::vector<std::string> getCAList();
    /// The ids of the CAs with this common name, compared byte by byte,
    /// ascending. Error 1 when the map of names cannot be read.
    virtual std::vector<std::string> getCAListByCN(const std::string& cn);

    /// The CA as PEM text; error 30 when it is missing or cannot be read.
    virtual std::string getCA(const std::string& id);

    /// The CA's summary, as getServerCertificateInfo(); error 30 when the CA is
    /// missing.
    virtual std::map<std::string, std::string> getCAInfo(const std::string& id);
    /// The settings that applications have attached to the CA; error 30 when it
    /// is missing.
    virtual OverwrittenData getCAOverwrittenData(const std::string& id);

    /// The directory of the CAs' PEM files, with a trailing slash.
    virtual std::string getCADirectory();

    /// The id of the stored CA that is the same certificate as a PEM file, or
    /// an empty string. The first one by id, where the store has several.
    virtual std::string getIdCAPath(const std::string& path);
    /// The same for PEM text, which has to match the stored text line by line.
    /// It takes a temporary file in the service's pipe directory: where that
    /// cannot be written the answer is an empty string, and it stays behind when
    /// the look-up throws.
    virtual std::string getIdCA(const std::string& pem);

    /// @{
    /// The operation of a CA's name, on the trusted clients; error 40 stands
    /// where the CAs have error 30.
    virtual std::string addTrustedClient(const std::string& certificate);
    virtual std::string addTrustedClientFile(const std::string& path);
    virtual void revokeTrustedClient(const std::string& id);
    virtual std::vector<std::string> revokeTrustedClient(const std::vector<std::string>& ids);
    virtual std::vector<std::string> getTrustedClientList();
    virtual std::vector<std::string> getTrustedClientListByCN(const std::string& cn);
    virtual std::string getTrustedClient(const std::string& id);
    virtual std::map<std::string, std::string> getTrustedClientInfo(const std::string& id);
    virtual OverwrittenData getTrustedClientOverwrittenData(const std::string& id);
    virtual std::string getTrustedClientDetails(const std::string& id);
    virtual std::string getTrustedClientDirectory();
    virtual std::string getIdTrustedClient(const std::string& pem);
    virtual std::string getIdTrustedClientPath(const std::string& path);
    /// @}

    /// The names of all configured services, in no particular order. Throws
    /// std::runtime_error when the daemon's configuration cannot be read.
    static std::vector<std::string> getServiceList();

    /// @{
    /// Always 1: for callers that poll a status. There is no check behind it.
    static int getHealthStatus();
    static int getOperatingStatus();
    /// @}

    /// @{
    /// Tells the daemon, by one byte, that something around it changed:
    /// notifyNetwork() the addresses of the device, notifyTime() its clock. It
    /// waits for nobody and for no answer. Error 11 when no daemon listens. Not
    /// while another thread opens descriptors: the one used here is closed a
    /// second time.
    static void sendNotification(char signal);
    static void notifyNetwork();
    static void notifyTime();
    /// @}

    /// The CA's full text; error 30 when the CA is missing, error 1 when the
    /// text is.
    std::string getCADetails(const std::string& id);

    /// The id of the server certificate in use, empty when the file that names
    /// it is; error 1 when that cannot be opened.
    std::string getServerActiveCertificateId();

    // Workers that the operations above share; open to callers that know the
    // paths of a store.

    /// The first certificate of the PEM file `path`. A file without one gives
    /// its last line. When it is missing or cannot be read: error 20, 30 or 40
    /// by target, 1 for any other target.
    std::string getCertificate(ostrel::TypeTarget target, const std::string& path);

    /// The ids of a list file, ascending; error 1 when it cannot be read.
    std::vector<std::string> getList(const std::string& listPath);

    /// The ids with this common name in a map file, ascending; error 1 when it
    /// cannot be read.
    std::vector<std::string> getListByCN(const std::string& cnMapPath, const std::string& cn);

    /// @{
    /// Hands a certificate, as PEM text or as a PEM file, to the daemon and
    /// returns its reply. Error 1 for whatever goes wrong.
    std::string addCertificate(ostrel::TypeTarget target, const std::string& certificate);
    std::string addCertificateFile(ostrel::TypeTarget target, const std::string& path);
    /// @}

    /// The same for PEM text and the stores "server", where a request has to be
    /// pending (error 21), "ca" and "client", for callers that tell refusals
    /// apart: the daemon's own return code passes, 33 for a CA that is there
    /// already, for example.
    std::string importCertificate(ostrel::TypeTarget target, const std::string& certificate);

    /// The text of the file `path`, and one line feed; error 1 when it cannot be
    /// opened.
    static std::string getCertificateDetails(const std::string& path);

    /// Sends one command, whose user and pid it fills in, and returns the
    /// payload of the daemon's reply.
    std::string sendCommandToServer(ostrel::Commands& command);

    /// The file whose flock() whoever asks the daemon holds meanwhile; the
    /// daemon makes it. For those who ask who keeps the service locked.
    std::string getLockPath() const;

private:
    struct ExternalStore;
    OSTREL_HIDDEN ExternalStore caStore() const;
    OSTREL_HIDDEN ExternalStore trustedClientStore() const;
    OSTREL_HIDDEN const ostrel::InternalCertificatesAccessor& serverStore() const;
    OSTREL_HIDDEN static const ostrel::ExternalCertificatesAccessor&
    pathsOfExisting(const ExternalStore& store, const std::string& id);
    OSTREL_HIDDEN std::string pipeDirectory() const;
    OSTREL_HIDDEN ServicePipes pipes() const;
    OSTREL_HIDDEN std::string idOrActive(const std::string& id);
    OSTREL_HIDDEN void requirePendingCsr();
    OSTREL_HIDDEN void requireImportable(ostrel::TypeTarget target);
    OSTREL_HIDDEN std::string sendCertificate(ostrel::TypeTarget target,
                                              const std::string& certificate,
                                              const std::string& path);
    OSTREL_HIDDEN void sendServerCommand(ostrel::CommandType type,
                                         const std::vector<std::string>& arguments);
    template <class Record>
    OSTREL_HIDDEN Record recordFromDaemon(ostrel::TypeTarget target, ostrel::CommandType type,
                                          const std::vector<std::string>& arguments);
    OSTREL_HIDDEN ostrl::CCertificateData certificateRecord(ostrel::TypeTarget target,
                                                            const std::string& path);
    OSTREL_HIDDEN std::string idOfText(const ExternalStore& store, const std::string& pem,
                                       std::string (OstrelService::*idOfFile)(const std::string&));
    OSTREL_HIDDEN std::vector<std::string> revoke(const ExternalStore& store,
                                                  const std::vector<std::string>& ids);

    std::unique_ptr<ostrel::ServiceConfiguration> m_configuration;
    std::unique_ptr<ostrel::ExternalCertificatesAccessor> m_caAccessor;
    std::unique_ptr<ostrel::ExternalCertificatesAccessor> m_trustedClientAccessor;
    std::unique_ptr<ostrel::InternalCertificatesAccessor> m_serverAccessor;
};

} // namespace ostrelApi
