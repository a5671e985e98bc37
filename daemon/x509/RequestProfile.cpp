#include "x509/RequestProfile.h"

#include "base/Clock.h"
#include "base/Files.h"
#include "x509/Network.h"
#include "x509/RequestExtensions.h"

#include <ostrl/CDistinguishedName.h>

#include <openssl/pem.h>
#include <openssl/rand.h>

#include <charconv>
#include <filesystem>
#include <stdexcept>

namespace ostreld
{

namespace
{

constexpr std::size_t largestConfiguration = 256 * 1024;
constexpr unsigned int smallestRsaKey = 2048;
constexpr unsigned int largestRsaKey = 8192;
constexpr int serialBytes = 16;

ConfPointer parse(const std::string& text)
{
    const BioPointer reader = readerOf(text);
    ConfPointer conf(NCONF_new(nullptr));
    require(withMemory([&] {
                return conf != nullptr && NCONF_load_bio(conf.get(), reader.get(), nullptr) == 1;
            }),
            CnfNotGood, "not an OpenSSL configuration");
    return conf;
}

// The device's name, for a configuration without a subject.
struct DefaultName {
    const char* type;
    const std::string& value;
};

const DefaultName defaultName[] = {
    {SN_countryName, ostrl::CDistinguishedName::DEFAULT_COUNTRY_CODE},
    {SN_stateOrProvinceName, ostrl::CDistinguishedName::DEFAULT_STATE},
    {SN_localityName, ostrl::CDistinguishedName::DEFAULT_CITY},
    {SN_organizationName, ostrl::CDistinguishedName::DEFAULT_COMPANY_NAME},
    {SN_organizationalUnitName, ostrl::CDistinguishedName::DEFAULT_DIVISION_NAME},
    {SN_commonName, ostrl::CDistinguishedName::DEFAULT_COMMON_NAME},
    {LN_pkcs9_emailAddress, ostrl::CDistinguishedName::DEFAULT_EMAIL_ADDR},
};

void addAttribute(X509_NAME* name, const std::string& type, const std::string& value)
{
    const auto* bytes = reinterpret_cast<const unsigned char*>(value.c_str());
    require(withMemory([&] {
                return X509_NAME_add_entry_by_txt(name, type.c_str(), MBSTRING_UTF8, bytes, -1, -1,
                                                  0) == 1;
            }),
            CnfNotGood, "a subject attribute that no name can carry");
}

bool setRandomSerial(X509* certificate)
{
    unsigned char bytes[serialBytes] = {};
    if (RAND_bytes(bytes, serialBytes) != 1) {
        return false;
    }
    // Makes the number positive and always of the same length.
    bytes[0] = static_cast<unsigned char>((bytes[0] & 0x7f) | 0x40);
    const OpenSslPointer<BIGNUM, BN_free> number(BN_bin2bn(bytes, serialBytes, nullptr));
    return number &&
           BN_to_ASN1_INTEGER(number.get(), X509_get_serialNumber(certificate)) != nullptr;
}

bool setDates(X509* certificate, std::uint32_t days)
{
    std::time_t now = currentTime();
    return X509_time_adj_ex(X509_getm_notBefore(certificate), 0, 0, &now) != nullptr &&
           X509_time_adj_ex(X509_getm_notAfter(certificate), static_cast<int>(days), 0, &now) !=
               nullptr;
}

bool addExtensions(X509* certificate, const STACK_OF(X509_EXTENSION) * extensions)
{
    for (int i = 0; i < sk_X509_EXTENSION_num(extensions); ++i) {
        if (X509_add_ext(certificate, sk_X509_EXTENSION_value(extensions, i), -1) != 1) {
            return false;
        }
    }
    return true;
}

} // namespace

std::string configurationFileText(const ostrel::ServiceConfiguration& service)
{
    const std::filesystem::path path = service.m_cnfFile;
    try {
        return readRegularFile(path.parent_path().string(), path.filename().string(),
                               largestConfiguration);
    } catch (const std::runtime_error& caught) {
        throw Refusal(CnfNotGood, caught.what());
    }
}

RequestProfile::RequestProfile(const ostrel::ServiceConfiguration& service,
                               const std::string& configurationText)
    : m_conf(parse(configurationText)), m_networkNames(alternativeNames(service))
{
}

std::string RequestProfile::requestSetting(const char* name) const
{
    const char* value = withMemory([&] { return NCONF_get_string(m_conf.get(), "req", name); });
    return value != nullptr ? value : "";
}

KeyKind RequestProfile::keyKind() const
{
    KeyKind kind;
    kind.curve = requestSetting("ec_paramgen_curve");
    require(kind.curve.empty() || kind.curve == "P-256", CnfNotGood, "no curve but P-256");
    const std::string bits = requestSetting("default_bits");
    if (!bits.empty()) {
        const char* end = bits.data() + bits.size();
        const auto [behind, error] = std::from_chars(bits.data(), end, kind.rsaBits);
        require(error == std::errc() && behind == end, CnfNotGood, "default_bits is not a number");
    }
    require(kind.rsaBits >= smallestRsaKey && kind.rsaBits <= largestRsaKey, CnfNotGood,
            "default_bits is out of range");
    return kind;
}

void RequestProfile::addConfiguredName(X509_NAME* name) const
{
    const std::string section = requestSetting("distinguished_name");
    const bool isPlain = requestSetting("prompt") == "no";
    const STACK_OF(CONF_VALUE)* values = NCONF_get_section(m_conf.get(), section.c_str());
    require(section.empty() || values != nullptr, CnfNotGood, "distinguished_name has no section");
    for (int i = 0; i < sk_CONF_VALUE_num(values); ++i) {
        const CONF_VALUE* entry = sk_CONF_VALUE_value(values, i);
        std::string type = entry->name;
        // With prompts, the value is the default that the prompt would offer.
        constexpr std::string_view ending = "_default";
        const bool isDefault =
            type.size() > ending.size() &&
            type.compare(type.size() - ending.size(), ending.size(), ending) == 0;
        if (isPlain == isDefault) {
            continue;
        }
        type.resize(isDefault ? type.size() - ending.size() : type.size());
        // A number, as in "0.organizationName", allows an attribute to occur several times.
        type.erase(0, type.find_first_of(".:,") + 1);
        addAttribute(name, type, entry->value);
    }
}

void RequestProfile::fillName(X509_NAME* name) const
{
    addConfiguredName(name);
    if (X509_NAME_entry_count(name) == 0) {
        for (const DefaultName& row : defaultName) {
            addAttribute(name, row.type, row.value);
        }
    }
}

ExtensionsPointer RequestProfile::extensions(X509V3_CTX* context) const
{
    STACK_OF(X509_EXTENSION)* stack = nullptr;
    const std::string section = requestSetting("req_extensions");
    const bool isFine = section.empty() || X509V3_EXT_add_nconf_sk(m_conf.get(), context,
                                                                   section.c_str(), &stack) == 1;
    ExtensionsPointer extensions(stack);
    requireMemory();
    require(isFine, CnfNotGood, "an extension that OpenSSL does not take");
    if (m_isCompliant) {
        addCompliantExtensions(extensions, context);
    }
    if (!m_networkNames.empty()) {
        addNames(extensions, m_networkNames);
    }
    return extensions;
}

std::string RequestProfile::request(const Key& key) const
{
    const RequestPointer request(X509_REQ_new());
    require(
        withMemory([&] { return request && X509_REQ_set_pubkey(request.get(), key.get()) == 1; }),
        ErrorDuringCsrGeneration, "the request could not be made");
    fillName(X509_REQ_get_subject_name(request.get()));
    X509V3_CTX context;
    X509V3_set_ctx(&context, nullptr, nullptr, request.get(), nullptr, 0);
    X509V3_set_nconf(&context, m_conf.get());
    const ExtensionsPointer wanted = extensions(&context);
    const bool hasExtensions = sk_X509_EXTENSION_num(wanted.get()) > 0;
    require(withMemory([&] {
                return (!hasExtensions ||
                        X509_REQ_add_extensions(request.get(), wanted.get()) == 1) &&
                       X509_REQ_sign(request.get(), key.get(), EVP_sha256()) > 0;
            }),
            ErrorDuringCsrGeneration, "the request could not be made");
    return printed([&](BIO* out) { return PEM_write_bio_X509_REQ(out, request.get()) == 1; });
}

std::string RequestProfile::selfSigned(const Key& key, std::uint32_t days) const
{
    const X509Pointer certificate(X509_new());
    X509* const made = certificate.get();
    require(withMemory([&] {
                return made != nullptr && X509_set_version(made, X509_VERSION_3) == 1 &&
                       setRandomSerial(made) && setDates(made, days) &&
                       X509_set_pubkey(made, key.get()) == 1;
            }),
            ErrorDuringSignature, "the certificate could not be made");
    fillName(X509_get_subject_name(made));
    X509V3_CTX context;
    X509V3_set_ctx(&context, made, made, nullptr, nullptr, 0);
    X509V3_set_nconf(&context, m_conf.get());
    const ExtensionsPointer wanted = extensions(&context);
    require(withMemory([&] {
                return X509_set_issuer_name(made, X509_get_subject_name(made)) == 1 &&
                       addExtensions(made, wanted.get()) &&
                       X509_sign(made, key.get(), EVP_sha256()) > 0;
            }),
            ErrorDuringSignature, "the certificate could not be signed");
    return printed([&](BIO* out) { return PEM_write_bio_X509(out, made) == 1; });
}

} // namespace ostreld
