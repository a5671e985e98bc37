#include "bench/Certificates.h"

#include "bench/Device.h"

#include <ostrel/ExternalCertificatesAccessor.h>

#include <openssl/evp.h>
#include <openssl/pem.h>
#include <openssl/rsa.h>
#include <openssl/x509v3.h>

#include <cstdio>
#include <memory>
#include <set>

namespace bench
{

namespace
{

template <class Type, void (*release)(Type*)>
struct Release {
    void operator()(Type* object) const { release(object); }
};
using Key = std::unique_ptr<EVP_PKEY, Release<EVP_PKEY, EVP_PKEY_free>>;
using X509Pointer = std::unique_ptr<X509, Release<X509, X509_free>>;
using Bio = std::unique_ptr<BIO, Release<BIO, BIO_free_all>>;
using Extension = std::unique_ptr<X509_EXTENSION, Release<X509_EXTENSION, X509_EXTENSION_free>>;

void addName(X509_NAME* name, const char* field, const std::string& value)
{
    X509_NAME_add_entry_by_txt(name, field, MBSTRING_UTF8,
                               reinterpret_cast<const unsigned char*>(value.c_str()), -1, -1, 0);
}

void addExtension(X509* certificate, int nid, const char* value)
{
    X509V3_CTX context;
    X509V3_set_ctx_nodb(&context);
    X509V3_set_ctx(&context, certificate, certificate, nullptr, nullptr, 0);
    const Extension extension(X509V3_EXT_conf_nid(nullptr, &context, nid, value));
    X509_add_ext(certificate, extension.get(), -1);
}

X509Pointer signedCertificate(EVP_PKEY* key, std::size_t number)
{
    constexpr long validity = 10L * 365 * 86400;
    X509Pointer certificate(X509_new());
    X509_set_version(certificate.get(), X509_VERSION_3);
    ASN1_INTEGER_set_uint64(X509_get_serialNumber(certificate.get()), number + 1);
    X509_gmtime_adj(X509_getm_notBefore(certificate.get()), 0);
    X509_gmtime_adj(X509_getm_notAfter(certificate.get()), validity);
    X509_NAME* const name = X509_get_subject_name(certificate.get());
    addName(name, "C", "US");
    addName(name, "O", "Example");
    addName(name, "CN", "Example Root CA " + std::to_string(number));
    X509_set_issuer_name(certificate.get(), name);
    X509_set_pubkey(certificate.get(), key);
    addExtension(certificate.get(), NID_basic_constraints, "critical,CA:TRUE");
    addExtension(certificate.get(), NID_key_usage, "critical,keyCertSign,cRLSign");
    addExtension(certificate.get(), NID_subject_key_identifier, "hash");
    X509_sign(certificate.get(), key, EVP_sha256());
    return certificate;
}

CertificateFile fileOf(X509* certificate)
{
    CertificateFile file;
    unsigned char digest[EVP_MAX_MD_SIZE];
    X509_digest(certificate, EVP_sha256(), digest, nullptr);
    for (int i = 0; i < 8; ++i) {
        char digits[3];
        std::snprintf(digits, sizeof digits, "%02x", digest[i]);
        file.id += digits;
    }
    const Bio text(BIO_new(BIO_s_mem()));
    PEM_write_bio_X509(text.get(), certificate);
    char* bytes = nullptr;
    const long length = BIO_get_mem_data(text.get(), &bytes);
    file.pem.assign(bytes, static_cast<std::size_t>(length));
    return file;
}

std::string textOf(const std::string& path)
{
    std::string text;
    if (std::FILE* const file = std::fopen(path.c_str(), "re")) {
        char bytes[4096];
        text.assign(bytes, std::fread(bytes, 1, sizeof bytes, file));
        std::fclose(file);
    }
    return text;
}

} // namespace

const std::vector<CertificateFile>& certificateFiles(std::size_t count)
{
    static const Key key(EVP_RSA_gen(2048));
    static std::vector<CertificateFile> files;
    while (files.size() < count) {
        files.push_back(fileOf(signedCertificate(key.get(), files.size()).get()));
    }
    return files;
}

std::vector<std::string> fillStore(const std::string& service, std::size_t count)
{
    const ostrel::ExternalCertificatesAccessor paths(service, "ca");
    const std::vector<CertificateFile>& files = certificateFiles(count);
    std::set<std::string> ids;
    std::vector<std::string> written;
    for (std::size_t i = 0; i < count; ++i) {
        ids.insert(files[i].id);
        written.push_back(paths.certPath(files[i].id));
        writeFile(written.back(), files[i].pem);
    }
    std::string list;
    for (const std::string& id : ids) {
        list += id + '\n';
    }
    writeFile(paths.listPath(), list);
    return written;
}

std::size_t parsedByHand(const std::vector<std::string>& paths)
{
    std::size_t count = 0;
    for (const std::string& path : paths) {
        const std::string text = textOf(path);
        const Bio reader(BIO_new_mem_buf(text.data(), static_cast<int>(text.size())));
        const X509Pointer certificate(PEM_read_bio_X509(reader.get(), nullptr, nullptr, nullptr));
        count += certificate != nullptr ? 1 : 0;
    }
    return count;
}

} // namespace bench
