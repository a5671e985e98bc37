#include "support/TestCertificate.h"

#include <atomic>
#include <memory>
#include <stdexcept>

#include <openssl/evp.h>
#include <openssl/pem.h>
#include <openssl/x509v3.h>
#include <unistd.h>

namespace support
{

namespace
{

template <class Object>
using Owner = std::unique_ptr<Object, void (*)(Object*)>;

void require(bool isDone, const char* what)
{
    if (!isDone) {
        throw std::runtime_error(std::string("OpenSSL cannot ") + what);
    }
}

EVP_PKEY* processKey()
{
    static const Owner<EVP_PKEY> key(EVP_EC_gen("P-256"), EVP_PKEY_free);
    return key.get();
}

// Includes the process id, so that the processes of one test make different
// certificates.
long nextSerial()
{
    static std::atomic<long> count{0};
    return static_cast<long>(::getpid()) * 100000 + ++count;
}

void setName(X509_NAME* name, const std::string& commonName)
{
    const auto* bytes = reinterpret_cast<const unsigned char*>(commonName.data());
    // As UTF8String, which OpenSSL takes without a check or a conversion.
    require(X509_NAME_add_entry_by_NID(name, NID_commonName, V_ASN1_UTF8STRING, bytes,
                                       static_cast<int>(commonName.size()), -1, 0) == 1,
            "set a name");
}

void addExtension(X509* certificate, int nid, const std::string& value)
{
    X509V3_CTX context;
    X509V3_set_ctx(&context, certificate, certificate, nullptr, nullptr, 0);
    const Owner<X509_EXTENSION> extension(
        X509V3_EXT_conf_nid(nullptr, &context, nid, value.c_str()), X509_EXTENSION_free);
    require(extension != nullptr && X509_add_ext(certificate, extension.get(), -1) == 1,
            "add an extension");
}

Owner<BIO> readerOf(const std::string& text)
{
    return Owner<BIO>(BIO_new_mem_buf(text.data(), static_cast<int>(text.size())),
                      [](BIO* bio) { BIO_free(bio); });
}

Owner<EVP_PKEY> keyOfRequest(const std::string& pem)
{
    const Owner<X509_REQ> request(
        PEM_read_bio_X509_REQ(readerOf(pem).get(), nullptr, nullptr, nullptr), X509_REQ_free);
    require(request != nullptr, "read a signing request");
    return Owner<EVP_PKEY>(X509_REQ_get_pubkey(request.get()), EVP_PKEY_free);
}

Owner<X509> certificateOf(const std::string& pem)
{
    Owner<X509> certificate(PEM_read_bio_X509(readerOf(pem).get(), nullptr, nullptr, nullptr),
                            X509_free);
    require(certificate != nullptr, "read a certificate");
    return certificate;
}

void setPublicKey(X509* certificate, const std::string& request)
{
    if (request.empty()) {
        X509_set_pubkey(certificate, processKey());
    } else {
        X509_set_pubkey(certificate, keyOfRequest(request).get());
    }
}

void setSerial(X509* certificate, int bytes)
{
    ASN1_INTEGER* serial = X509_get_serialNumber(certificate);
    if (bytes == 0) {
        ASN1_INTEGER_set(serial, nextSerial());
    } else {
        ASN1_STRING_set(serial, std::string(static_cast<std::size_t>(bytes), '\x55').data(), bytes);
    }
}

void fill(X509* certificate, const TestCertificate& wanted)
{
    X509_set_version(certificate, X509_VERSION_3);
    setSerial(certificate, wanted.serialBytes);
    setName(X509_get_subject_name(certificate), wanted.commonName);
    setName(X509_get_issuer_name(certificate),
            wanted.issuer.empty() ? wanted.commonName : wanted.issuer);
    require(ASN1_TIME_set_string_X509(X509_getm_notBefore(certificate), wanted.notBefore.c_str()) ==
                    1 &&
                ASN1_TIME_set_string_X509(X509_getm_notAfter(certificate),
                                          wanted.notAfter.c_str()) == 1,
            "set a date");
    addExtension(certificate, NID_basic_constraints, wanted.isCA ? "CA:TRUE" : "CA:FALSE");
    if (!wanted.alternativeNames.empty()) {
        addExtension(certificate, NID_subject_alt_name, wanted.alternativeNames);
    }
    if (wanted.padding != 0) {
        addExtension(certificate, NID_netscape_comment, std::string(wanted.padding, 'x'));
    }
}

} // namespace

std::string TestCertificate::pem() const
{
    const Owner<X509> certificate(X509_new(), X509_free);
    fill(certificate.get(), *this);
    setPublicKey(certificate.get(), request);
    require(X509_sign(certificate.get(), processKey(), EVP_sha256()) > 0, "sign");
    const Owner<BIO> out(BIO_new(BIO_s_mem()), [](BIO* bio) { BIO_free(bio); });
    require(PEM_write_bio_X509(out.get(), certificate.get()) == 1, "write a certificate");
    char* text = nullptr;
    const long length = BIO_get_mem_data(out.get(), &text);
    return std::string(text, static_cast<std::size_t>(length));
}

std::string fingerprintId(const std::string& pem)
{
    const Owner<X509> certificate = certificateOf(pem);
    unsigned char* der = nullptr;
    const int length = i2d_X509(certificate.get(), &der);
    require(length > 0, "encode a certificate");
    const Owner<unsigned char> owner(der, [](unsigned char* p) { OPENSSL_free(p); });
    unsigned char digest[EVP_MAX_MD_SIZE] = {};
    EVP_Digest(der, static_cast<std::size_t>(length), digest, nullptr, EVP_sha256(), nullptr);
    std::string text;
    for (int i = 0; i < 8; ++i) {
        text += "0123456789abcdef"[digest[i] / 16];
        text += "0123456789abcdef"[digest[i] % 16];
    }
    return text;
}

std::string certificateFor(const std::string& request)
{
    TestCertificate certificate;
    certificate.commonName = "web.example";
    certificate.issuer = "Test CA";
    certificate.isCA = false;
    certificate.request = request;
    return certificate.pem();
}

bool isKeyOf(const std::string& certificatePem, const std::string& keyPem)
{
    const Owner<EVP_PKEY> key(
        PEM_read_bio_PrivateKey(readerOf(keyPem).get(), nullptr, nullptr, nullptr), EVP_PKEY_free);
    const Owner<X509> certificate = certificateOf(certificatePem);
    return key != nullptr && X509_check_private_key(certificate.get(), key.get()) == 1;
}

} // namespace support
