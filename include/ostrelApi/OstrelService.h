#pragma once

/// @file
/// The library's main header, for applications: one object for each service of
/// the device, and every call on its certificates.
///
///     ostrelApi::OstrelService web("web");
///     std::string id = web.addCAFile("root.pem");
///     for (const std::string& ca : web.getCAList()) ...
///     web.revokeCA(id);
///
/// Any thread may make any call at any time. The caller owns every result, and
/// nothing stays open between calls. The table at the class says what each kind
/// of call waits for and throws.

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

/// One service of the device and its certificates. A service has up to three
/// stores: its own server certificate, the certificate authorities (CAs) that it
/// trusts, and its trusted clients. Its configuration says which.
///
/// There are three kinds of calls. The comment of each call starts with its kind:
///
///     kind    | what it does       | waits for            | throws
///     --------|--------------------|----------------------|--------------------------------
///     query   | reads the daemon's | nothing              | NoSuchTarget (7); what its
///             | files              |                      | comment names
///     request | sends the daemon   | the daemon's reply,  | as a query; DaemonOff (11),
///             | a command          | without a time limit | AccessDenied (3), ApiLocked (2),
///             |                    |                      | ActionFailed (1); any code that
///             |                    |                      | the daemon sends
///     import  | hands the daemon   | as a request         | NoSuchTarget (7), NoCsr (21);
///             | a certificate      |                      | ActionFailed (1) for every
///             |                    |                      | failure after that
///
/// Errors: the outcomes above and below are return codes of ReturnCode.h. They are
/// thrown as ostrelApi::CallError, which derives from OstrelApiException. It holds
/// the return code, the return code that the daemon sent, and a reason of one line.
/// After an import, getDaemonReturnCode() and getReason() say why it failed. Two
/// failures are a plain std::runtime_error instead: a signal handler interrupts the
/// wait for a reply (the text is that of EINTR, and the daemon may still execute the
/// command), and a query finds no valid summary. Any call may throw std::bad_alloc.
///
/// Store check: a call on a store that the service does not have throws
/// NoSuchTarget (7) before it does anything else. The workers at the end have no
/// store check, except importCertificate().
///
/// Blocking: a request never waits for another caller. While another thread or
/// process is in a call to the same service, a request throws ApiLocked (2) at once.
/// If the daemon was stopped, or never ran, it throws DaemonOff (11). If the daemon
/// was killed, it waits for the next daemon. If the caller may not open the service's
/// lock file, because it is not in the managment group, it throws AccessDenied (3).
/// If another step of the exchange fails, it throws ActionFailed (1). Instead of all
/// these codes, an import throws ActionFailed (1). docs/PROTOCOL.md lists the steps.
///
/// Threads: the object does not change after its construction, so several threads
/// may use it at once. No call may be made from a signal handler, and
/// sendNotification() has a restriction of its own.
///
/// Files: docs/FILES.md lists every file that a query reads.
class OSTREL_API OstrelService
{
public:
    /// Reads the service's configuration, once; waits for nothing. Throws
    /// std::runtime_error when the configuration of the service or of the daemon
    /// is missing or invalid. Where the daemon's minDateForGeneratingCert is not a
    /// number, throws std::invalid_argument or std::out_of_range.
    explicit OstrelService(const std::string& serviceName);

    /// Does not release a lock held by another call. Throws nothing.
    virtual ~OstrelService();
    OstrelService(const OstrelService&) = delete;
    OstrelService& operator=(const OstrelService&) = delete;

    // The order of the virtual operations is fixed: programs that were built
    // against an earlier release of this library rely on it.

    // ---------------------------------------------------------------------------
    // The service. The getters return what the constructor read: they read no
    // file, wait for nothing, and throw nothing but std::bad_alloc.

    /// Whether the service has a store for its server certificate.
    virtual bool hasServer() const;
    /// Whether the service has a store of CAs.
    virtual bool hasCA() const;
    /// The largest number of CAs; 0 means no limit.
    virtual unsigned short maxCA() const;
    /// Whether the service has a store of trusted clients.
    virtual bool hasTrustedClient() const;
    /// The largest number of trusted clients; 0 means no limit.
    virtual unsigned short maxTrustedClient() const;

    /// The service's name for people, from its configuration.
    virtual std::string getServiceName() const;

    /// Request: returns whether the daemon serves this service. If the daemon was
    /// stopped, or never ran, it throws DaemonOff (11) and does not return false.
    virtual bool isServiceRunning();

    /// Request: makes the daemon read the service's configuration again. This
    /// object keeps the configuration that its constructor read.
    virtual void reloadService();

    // ---------------------------------------------------------------------------
    // The server certificate: its signing request (CSR), and its certificate.

    /// @{
    /// Request: makes the daemon create a new key and a CSR, which is pending
    /// afterwards. `fields` holds options of the CSR.
    virtual void createServerCsr();
    virtual void createServerCsr(const ConfiguredField& fields);
    /// @}

    /// @{
    /// Import: hands over the certificate that a CA issued for the pending CSR, as
    /// PEM text or as the path of a PEM file. Throws NoCsr (21) when no CSR is
    /// pending; every later failure is ActionFailed (1).
    virtual void applyServerCertificate(const std::string& certificate);
    virtual void applyServerCertificateFile(const std::string& path);
    /// @}

    /// Request: revokes the certificate in use. `id` is ignored.
    virtual void revokeServerCertificate(const std::string& id);

    /// Query: the pending CSR as PEM text, followed by one line feed. Throws
    /// NoCsr (21) when no CSR is pending.
    virtual std::string getServerCsr();
    /// Query: when the pending CSR was created, in seconds since 1970 UTC; 0 when
    /// no CSR is pending. It is the last status change of the file, so a change of
    /// the file's mode or owner also moves it.
    virtual std::int64_t getServerCsrTimestamp();

    // Records: what a CSR or a certificate contains, field by field, parsed by the
    // daemon.

    /// Request: the record of the pending CSR. Throws NoCsr (21) when no CSR is
    /// pending.
    virtual ostrl::CCSRData getCsrInfo();

    /// @{
    /// Request: the record of a trusted client, of a CA, and of the server
    /// certificate in use. Throws BadTrustedClient (40), BadCA (30) or
    /// NoServerCertificate (20) when the certificate does not exist, and
    /// ActionFailed (1) when the file that names the one in use cannot be opened.
    virtual ostrl::CCertificateData getTrustedClientCertInfo(const std::string& id);
    virtual ostrl::CCertificateData getCACertInfo(const std::string& id);
    virtual ostrl::CCertificateData getServerCertInfo();
    /// @}

    // Down to getServerCertificateInfo(), an empty `id` means the certificate in
    // use. With an empty `id` a query also throws ActionFailed (1) when the file
    // that names that certificate cannot be opened.
    //
    // A certificate and its key are a pair. Two calls with an empty `id` can
    // return halves of two pairs, because the daemon may replace the certificate
    // between them. Fetch the id first and give it to both:
    //
    //     const std::string id = web.getServerActiveCertificateId();
    //     const std::string certificate = web.getServerCertificate(id);
    //     const std::string key = web.getServerKey(id);

    /// Query: the certificate as text for people. Throws ActionFailed (1) when the
    /// text cannot be opened.
    virtual std::string getServerCertificateDetails(const std::string& id);

    /// Query: whether the service's key is held in a TPM. `id` is ignored, because
    /// the configuration answers for the whole service; no file is read.
    virtual bool isServerKeyInTPM(const std::string& id);

    /// Query: the private key as PEM text, followed by one line feed. Throws
    /// ActionFailed (1) when the key cannot be opened. For a pair of certificate
    /// and key, fetch the id first (getServerActiveCertificateId()) and give it
    /// to both calls.
    virtual std::string getServerKey(const std::string& id);
    /// Query: the certificate as PEM text. Throws NoServerCertificate (20) when it
    /// does not exist or cannot be read. For a pair of certificate and key, fetch
    /// the id first (getServerActiveCertificateId()) and give it to both calls.
    virtual std::string getServerCertificate(const std::string& id);
    /// Query: the path of the certificate. Throws ActionFailed (1) when it cannot
    /// be opened.
    virtual std::string getServerCertificatePath(const std::string& id);

    /// Query: the certificate's overrides, which are settings that applications
    /// keep with it. The result reads its file later, and an absent file is no
    /// error.
    virtual OverwrittenData getServerCertificateOverwrittenData(const std::string& id);

    /// Query: the certificate's summary. Its keys are "issuedTo", "issuedBy",
    /// "CA", "CASigned", "selfSigned" ("yes" or "no"), "validFrom", "validUntil"
    /// (seconds since 1970 UTC), and "IP.1", "IP.2", ..., "DNS.1", ... Throws
    /// std::runtime_error when the summary does not exist or is malformed.
    virtual std::map<std::string, std::string> getServerCertificateInfo(const std::string& id);

    /// Query: one element, the id of the certificate in use. Throws as
    /// getServerActiveCertificateId().
    virtual std::vector<std::string> getServerCertificateList();

    // ---------------------------------------------------------------------------
    // CAs.

    /// @{
    /// Import: adds one CA, as PEM text or as the path of a PEM file. Returns the
    /// daemon's reply, which is the new id. Every failure after the store check is
    /// ActionFailed (1); CallError::getDaemonReturnCode() and getReason() say why,
    /// for example CAExists (33) and "already there".
    virtual std::string addCA(const std::string& certificate);
    virtual std::string addCAFile(const std::string& path);
    /// @}

    /// Request: revokes one CA. Throws BadCA (30) when the daemon does not report
    /// that it revoked this id.
    virtual void revokeCA(const std::string& id);
    /// Request: revokes several CAs. Returns the ids that the daemon revoked,
    /// ascending.
    virtual std::vector<std::string> revokeCA(const std::vector<std::string>& ids);

    /// Query: the ids of all CAs, ascending. Throws ActionFailed (1) when the list
    /// cannot be opened.
    virtual std::vector<std::string> getCAList();
    /// Query: the ids of the CAs with this common name, ascending. Names are
    /// compared byte by byte. Throws ActionFailed (1) when the map of names cannot
    /// be opened.
    virtual std::vector<std::string> getCAListByCN(const std::string& cn);

    /// Query: the CA as PEM text. Throws BadCA (30) when it does not exist or
    /// cannot be read.
    virtual std::string getCA(const std::string& id);

    /// Query: the CA's summary, with the keys and the std::runtime_error of
    /// getServerCertificateInfo(). Throws BadCA (30) when the CA does not exist.
    virtual std::map<std::string, std::string> getCAInfo(const std::string& id);
    /// Query: the CA's overrides, as getServerCertificateOverwrittenData(). Throws
    /// BadCA (30) when the CA does not exist.
    virtual OverwrittenData getCAOverwrittenData(const std::string& id);

    /// Query: the directory of the CAs' PEM files, with a trailing slash. Reads no
    /// file. The files are named by their ids. It is not a hashed directory of
    /// OpenSSL: OpenSSL finds no certificate in it when it is used as a CApath.
    virtual std::string getCADirectory();

    /// Query: the id of the stored CA that is the same certificate as the PEM file
    /// `path`. Returns the first id if several are the same, and an empty string
    /// if no CA is or if `path` cannot be read. Throws as getCAList().
    virtual std::string getIdCAPath(const std::string& path);
    /// Query: as getIdCAPath(), for PEM text, which must match the stored text line
    /// by line. It writes a temporary file into the service's pipe directory. It
    /// returns an empty string when it cannot write that file, and leaves the file
    /// behind when getIdCAPath() throws.
    virtual std::string getIdCA(const std::string& pem);

    // ---------------------------------------------------------------------------
    // Trusted clients.

    /// @{
    /// The call of the same name on the CAs, for the trusted clients: same kind,
    /// result and errors, with BadTrustedClient (40) in the place of BadCA (30).
    /// getTrustedClientDetails() corresponds to getCADetails().
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

    // ---------------------------------------------------------------------------
    // The device. These calls need no service object.

    /// Query: the names of all configured services, in no particular order; empty
    /// when the directory of the configurations cannot be read. Throws
    /// std::runtime_error when the daemon's configuration is missing or invalid.
    static std::vector<std::string> getServiceList();

    /// @{
    /// Always 1, for callers that poll a status. Nothing is checked.
    static int getHealthStatus();
    static int getOperatingStatus();
    /// @}

    /// @{
    /// Sends the daemon one byte: notifyNetwork() after the device's addresses
    /// changed, notifyTime() after its clock changed. It waits for nothing and
    /// gets no reply, and a byte that does not fit into the FIFO is lost. Throws
    /// DaemonOff (11) when no daemon reads the FIFO, ActionFailed (1) when it
    /// cannot be opened for another reason, and std::runtime_error when the
    /// daemon's configuration is missing or invalid.
    ///
    /// Threads: do not call it while another thread opens descriptors. It closes
    /// its descriptor twice, and the second close could hit the other thread's.
    static void sendNotification(char signal);
    static void notifyNetwork();
    static void notifyTime();
    /// @}

    // ---------------------------------------------------------------------------
    // Operations that are not virtual.

    /// Query: the CA as text for people. Throws BadCA (30) when the CA does not
    /// exist, and ActionFailed (1) when the text cannot be opened.
    std::string getCADetails(const std::string& id);

    /// Query: the id of the server certificate in use; empty when the file that
    /// names it is empty. Throws ActionFailed (1) when that file cannot be opened.
    std::string getServerActiveCertificateId();

    // Workers that the operations above share. They are public for callers that
    // know the paths of a store; only importCertificate() has a store check.

    /// Query: the first certificate of the PEM file `path`. A file without one
    /// gives its last line. When the file does not exist or cannot be read, throws
    /// by target: NoServerCertificate (20), BadCA (30), BadTrustedClient (40), or
    /// ActionFailed (1) for any other target.
    std::string getCertificate(ostrel::TypeTarget target, const std::string& path);

    /// Query: the ids of a list file, ascending. Throws ActionFailed (1) when it
    /// cannot be opened.
    std::vector<std::string> getList(const std::string& listPath);

    /// Query: the ids with this common name in a map file, ascending. Throws
    /// ActionFailed (1) when it cannot be opened.
    std::vector<std::string> getListByCN(const std::string& cnMapPath, const std::string& cn);

    /// @{
    /// Import: hands over a certificate, as PEM text or as the path of a PEM file,
    /// and returns the daemon's reply. Every failure is ActionFailed (1).
    std::string addCertificate(ostrel::TypeTarget target, const std::string& certificate);
    std::string addCertificateFile(ostrel::TypeTarget target, const std::string& path);
    /// @}

    /// Request: as addCertificate(), but it throws what a request throws, such as
    /// CAExists (33). Throws NoSuchTarget (7) for a store that the service does not
    /// have, NoCsr (21) for the server store when no CSR is pending, and
    /// ActionFailed (1) when the temporary file cannot be written or shared with
    /// the daemon.
    std::string importCertificate(ostrel::TypeTarget target, const std::string& certificate);

    /// Query: the text of the file `path`, followed by one line feed. Throws
    /// ActionFailed (1) when it cannot be opened.
    static std::string getCertificateDetails(const std::string& path);

    /// Request: sends one command and returns the payload of the daemon's reply.
    /// Replaces the command's user and pid by the caller's. docs/PROTOCOL.md lists
    /// the commands.
    std::string sendCommandToServer(ostrel::Commands& command);

    /// The path of the service's lock file, for tools that show who holds it. The
    /// daemon creates the file; a request holds its flock() during the call.
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
