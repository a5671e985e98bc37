#include "x509/Certificate.h"

#include "base/Files.h"
#include "x509/Json.h"
#include "x509/X509Text.h"

#include <fmt/format.h>
#include <openssl/bn.h>
#include <openssl/pem.h>

namespace ostreld
{

namespace
{

constexpr std::size_t idBytes = 8;
constexpr int secondsPerDay = 86400;
constexpr int longestDecimalSerial = 64;

void freeCharacters(char* characters)
{
    OPENSSL_free(characters);
}
using CharactersPointer = OpenSslPointer<char, freeCharacters>;

X509Pointer parse(const std::string& pem)
{
    const BioPointer reader = readerOf(pem);
    X509Pointer certificate = withMemory(
        [&] { return X509Pointer(PEM_read_bio_X509(reader.get(), nullptr, noPassword, nullptr)); });
    require(certificate != nullptr, BadCertificateFormat, "not a certificate");
    return certificate;
}

// The first block of `pem`, if it is plain PEM.
std::string firstBlock(const std::string& pem)
{
    const std::string begin = "-----BEGIN CERTIFICATE-----\n";
    const std::string end = "\n-----END CERTIFICATE-----\n";
    const std::size_t first = pem.find(begin);
    const std::size_t last = first != std::string::npos ? pem.find(end, first) : first;
    if (last == std::string::npos || (first != 0 && pem[first - 1] != '\n')) {
        return {};
    }
    return pem.substr(first, last + end.size() - first);
}

bool isTextOf(const std::string& pem, const X509* certificate)
{
    try {
        const X509Pointer parsed = parse(pem);
        return withMemory([&] { return X509_cmp(parsed.get(), certificate) == 0; });
    } catch (const Refusal&) {
        return false;
    }
}

std::string pemOf(const std::string& given, X509* certificate)
{
    std::string written =
        printed([&](BIO* out) { return PEM_write_bio_X509(out, certificate) == 1; });
    // Most texts are equal to `written`, which saves another parse: parsing takes most of the
    // time of a start.
    std::string block = firstBlock(given);
    return block != written && isTextOf(block, certificate) ? block : written;
}

// The time for decimal digits grows with the square of their number.
std::string serialText(const X509* certificate)
{
    const ASN1_INTEGER* serial = X509_get0_serialNumber(certificate);
    const unsigned char* bytes = ASN1_STRING_get0_data(serial);
    const int length = ASN1_STRING_length(serial);
    if (length > longestDecimalSerial) {
        const char* sign = ASN1_STRING_type(serial) == V_ASN1_NEG_INTEGER ? "-" : "";
        return fmt::format("{}0x{:02x}", sign, fmt::join(bytes, bytes + length, ""));
    }
    const auto text = withMemory([&] {
        const OpenSslPointer<BIGNUM, BN_free> number(ASN1_INTEGER_to_BN(serial, nullptr));
        return CharactersPointer(number ? BN_bn2dec(number.get()) : nullptr);
    });
    require(text != nullptr, BadCertificateFormat, "a serial number without a text");
    return text.get();
}

} // namespace

Certificate::Certificate(const std::string& pem)
    : m_x509(parse(pem)), m_key(keyIn(X509_get_X509_PUBKEY(m_x509.get()))),
      m_pem(pemOf(pem, m_x509.get()))
{
}

std::string Certificate::id() const
{
    unsigned char digest[EVP_MAX_MD_SIZE] = {};
    require(
        withMemory([&] { return X509_digest(m_x509.get(), EVP_sha256(), digest, nullptr) == 1; }),
        BadCertificateFormat, "a certificate without a fingerprint");
    return fmt::format("{:02x}", fmt::join(digest, digest + idBytes, ""));
}

std::string Certificate::commonName() const
{
    return commonNameOf(X509_get_subject_name(m_x509.get()));
}

bool Certificate::isCA() const
{
    // 3 is a self-signed certificate of version 1, which has no extension for this.
    const int kind = withMemory([&] { return X509_check_ca(m_x509.get()); });
    return kind == 1 || kind == 3;
}

bool Certificate::isSelfSigned() const
{
    return withMemory([&] { return X509_self_signed(m_x509.get(), 1) == 1; });
}

Validity Certificate::validity() const
{
    return {secondsSince1970(X509_get0_notBefore(m_x509.get())),
            secondsSince1970(X509_get0_notAfter(m_x509.get()))};
}

std::string Certificate::info() const
{
    const AlternativeNames names = alternativeNamesOf(m_x509.get());
    return fmt::format("{{\n"
                       "  \"data_structure_version\": 1,\n"
                       "  \"issuerName\": {},\n"
                       "  \"subjectName\": {},\n"
                       "  \"isCA\": {},\n"
                       "  \"isSelfSigned\": {},\n"
                       "  \"validFrom\": {},\n"
                       "  \"validUntil\": {},\n"
                       "  \"validIPs\": {},\n"
                       "  \"validHostnames\": {}\n"
                       "}}\n",
                       jsonString(nameText(X509_get_issuer_name(m_x509.get()))),
                       jsonString(nameText(X509_get_subject_name(m_x509.get()))), isCA(),
                       isSelfSigned(), validity().from, validity().until, jsonList(names.ips),
                       jsonList(names.hostnames));
}

std::string Certificate::details() const
{
    std::string text = printed([&](BIO* out) {
        return X509_print_ex(out, m_x509.get(), XN_FLAG_ONELINE & ~ASN1_STRFLGS_ESC_MSB,
                             X509_FLAG_COMPAT) == 1;
    });
    require(!text.empty() && text.size() <= largestOwnFile && text.find('\0') == std::string::npos,
            BadCertificateFormat, "a certificate whose text no reply can carry");
    return text;
}

ostrl::CCertificateData Certificate::record() const
{
    ostrl::CCertificateData record;
    record.subjectName = nameRecord(X509_get_subject_name(m_x509.get()));
    record.issuerName = nameRecord(X509_get_issuer_name(m_x509.get()));
    record.publicKeySizeBits = m_key != nullptr ? EVP_PKEY_get_bits(m_key) : 0;
    record.certSerial = serialText(m_x509.get());
    record.certVersion = static_cast<int>(X509_get_version(m_x509.get())) + 1;
    record.v3Extensions = extensionRecords(X509_get0_extensions(m_x509.get()));
    record.signatureAlgorithmType = longName(X509_get_signature_nid(m_x509.get()));
    record.publicKeyType = keyType(m_key);
    record.publicKey = m_key != nullptr ? keyText(X509_get_X509_PUBKEY(m_x509.get())) : "";
    const auto [from, until] = validity();
    record.validNotBeforeDate = static_cast<std::uint64_t>(from);
    record.validNotAfterDate = static_cast<std::uint64_t>(until);
    record.validityDays = static_cast<int>((until - from) / secondsPerDay);
    return record;
}

void requireDescribable(const Certificate& certificate, ReturnCode otherwise)
{
    try {
        (void)certificate.info();
        (void)certificate.details();
        (void)certificate.record();
    } catch (const Refusal& caught) {
        throw Refusal(otherwise, caught.what());
    }
}

} // namespace ostreld
