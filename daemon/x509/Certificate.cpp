#include "x509/Certificate.h"

#include "base/Refusal.h"
#include "x509/X509Text.h"

#include <fmt/format.h>
#include <nlohmann/json.hpp>
#include <openssl/bn.h>
#include <openssl/err.h>
#include <openssl/pem.h>
#include <openssl/x509v3.h>

namespace ostreld
{

namespace
{

constexpr std::size_t idBytes = 8;
constexpr int secondsPerDay = 86400;
constexpr int longestDecimalSerial = 64;

X509Pointer parse(const std::string& pem)
{
    X509Pointer certificate(PEM_read_bio_X509(readerOf(pem).get(), nullptr, noPassword, nullptr));
    ERR_clear_error();
    if (!certificate) {
        throw Refusal(BadCertificateFormat, "not a certificate");
    }
    return certificate;
}

// The first plain block of `pem`, if it is this very certificate.
std::string blockAsGiven(const std::string& pem, const X509* certificate)
{
    const std::string begin = "-----BEGIN CERTIFICATE-----\n";
    const std::string end = "\n-----END CERTIFICATE-----\n";
    const std::size_t first = pem.find(begin);
    const std::size_t last = first != std::string::npos ? pem.find(end, first) : first;
    if (last == std::string::npos || (first != 0 && pem[first - 1] != '\n')) {
        return {};
    }
    const std::string block = pem.substr(first, last + end.size() - first);
    try {
        return X509_cmp(parse(block).get(), certificate) == 0 ? block : std::string();
    } catch (const Refusal&) {
        return {};
    }
}

std::string pemOf(const std::string& given, X509* certificate)
{
    const std::string block = blockAsGiven(given, certificate);
    return !block.empty() ? block
                          : printed([&](BIO* out) { PEM_write_bio_X509(out, certificate); });
}

// The time that decimal digits take grows by the square of their number.
std::string serialText(const X509* certificate)
{
    const ASN1_INTEGER* serial = X509_get0_serialNumber(certificate);
    const unsigned char* bytes = ASN1_STRING_get0_data(serial);
    const int length = ASN1_STRING_length(serial);
    if (length > longestDecimalSerial) {
        const char* sign = ASN1_STRING_type(serial) == V_ASN1_NEG_INTEGER ? "-" : "";
        return fmt::format("{}0x{:02x}", sign, fmt::join(bytes, bytes + length, ""));
    }
    const std::unique_ptr<BIGNUM, void (*)(BIGNUM*)> number(ASN1_INTEGER_to_BN(serial, nullptr),
                                                            BN_free);
    const std::unique_ptr<char, void (*)(char*)> text(BN_bn2dec(number.get()),
                                                      [](char* p) { OPENSSL_free(p); });
    return text.get();
}

} // namespace

Certificate::Certificate(const std::string& pem)
    : m_x509(parse(pem)), m_pem(pemOf(pem, m_x509.get()))
{
}

std::string Certificate::id() const
{
    unsigned char digest[EVP_MAX_MD_SIZE] = {};
    X509_digest(m_x509.get(), EVP_sha256(), digest, nullptr);
    return fmt::format("{:02x}", fmt::join(digest, digest + idBytes, ""));
}

std::string Certificate::commonName() const
{
    return commonNameOf(X509_get_subject_name(m_x509.get()));
}

bool Certificate::isCA() const
{
    // 3 stands for a self-signed certificate of version 1, which has no extension to say so.
    const int kind = X509_check_ca(m_x509.get());
    return kind == 1 || kind == 3;
}

std::string Certificate::info() const
{
    const AlternativeNames names = alternativeNamesOf(m_x509.get());
    const nlohmann::ordered_json json = {
        {"data_structure_version", 1},
        {"issuerName", nameText(X509_get_issuer_name(m_x509.get()))},
        {"subjectName", nameText(X509_get_subject_name(m_x509.get()))},
        {"isCA", isCA()},
        {"isSelfSigned", isSelfSigned()},
        {"validFrom", secondsSince1970(X509_get0_notBefore(m_x509.get()))},
        {"validUntil", secondsSince1970(X509_get0_notAfter(m_x509.get()))},
        {"validIPs", names.ips},
        {"validHostnames", names.hostnames},
    };
    return json.dump(2, ' ', false, nlohmann::json::error_handler_t::replace) + '\n';
}

std::string Certificate::details() const
{
    return printed([&](BIO* out) {
        X509_print_ex(out, m_x509.get(), XN_FLAG_ONELINE & ~ASN1_STRFLGS_ESC_MSB, X509_FLAG_COMPAT);
    });
}

ostrl::CCertificateData Certificate::record() const
{
    ostrl::CCertificateData record;
    EVP_PKEY* key = X509_get0_pubkey(m_x509.get());
    record.subjectName = nameRecord(X509_get_subject_name(m_x509.get()));
    record.issuerName = nameRecord(X509_get_issuer_name(m_x509.get()));
    record.publicKeySizeBits = key != nullptr ? EVP_PKEY_get_bits(key) : 0;
    record.certSerial = serialText(m_x509.get());
    record.certVersion = static_cast<int>(X509_get_version(m_x509.get())) + 1;
    record.v3Extensions = extensionRecords(X509_get0_extensions(m_x509.get()));
    record.signatureAlgorithmType = OBJ_nid2ln(X509_get_signature_nid(m_x509.get()));
    record.publicKeyType = keyType(key);
    record.publicKey = keyText(key);
    record.validNotBeforeDate = secondsSince1970(X509_get0_notBefore(m_x509.get()));
    record.validNotAfterDate = secondsSince1970(X509_get0_notAfter(m_x509.get()));
    record.validityDays =
        static_cast<int>((record.validNotAfterDate - record.validNotBeforeDate) / secondsPerDay);
    return record;
}

} // namespace ostreld
