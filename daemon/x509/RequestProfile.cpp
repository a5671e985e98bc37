#include "x509/RequestProfile.h"

#include "base/Clock.h"
#include "base/Files.h"
#include "base/Program.h"
#include "base/Refusal.h"
#include "x509/Network.h"
#include "x509/X509Text.h"

#include <ostrel/DaemonConfiguration.h>
#include <ostrl/CDistinguishedName.h>

#include <openssl/err.h>
#include <openssl/pem.h>
#include <openssl/rand.h>

#include <charconv>
#include <filesystem>

namespace ostreld
{

namespace
{

constexpr std::size_t largestConfiguration = 256 * 1024;
constexpr std::chrono::seconds hookPatience{10};
constexpr unsigned int smallestRsaKey = 2048;
constexpr unsigned int largestRsaKey = 8192;
constexpr int serialBytes = 16;

void require(bool isFine, ReturnCode otherwise, const char* reason)
{
    if (!isFine) {
        ERR_clear_error();
        throw Refusal(otherwise, reason);
    }
}

std::string printedByHook(const ostrel::ServiceConfiguration& service)
{
    namespace fs = std::filesystem;
    const fs::path hook =
        fs::path(ostrel::DaemonConfiguration::getScriptsDirectory()) / service.m_cnfHookFile;
    try {
        return runProgram({hook.string(), service.m_serviceName}, hookPatience);
    } catch (const std::exception& caught) {
        throw Refusal(ErrorDuringExternalCommand, caught.what());
    }
}

std::string configurationText(const ostrel::ServiceConfiguration& service)
{
    if (!service.m_cnfHookFile.empty()) {
        return printedByHook(service);
    }
    const std::filesystem::path path = service.m_cnfFile;
    try {
        return readRegularFile(path.parent_path().string(), path.filename().string(),
                               largestConfiguration);
    } catch (const std::exception& caught) {
        throw Refusal(CnfNotGood, caught.what());
    }
}

ConfPointer parse(const std::string& text)
{
    ConfPointer conf(NCONF_new(nullptr));
    require(NCONF_load_bio(conf.get(), readerOf(text).get(), nullptr) == 1, CnfNotGood,
            "not an OpenSSL configuration");
    return conf;
}

// What the device calls itself where a configuration says nothing.
struct DefaultName {
    int nid;
    const std::string& value;
};

const DefaultName defaultNames[] = {
    {NID_countryName, ostrl::CDistinguishedName::DEFAULT_COUNTRY_CODE},
    {NID_stateOrProvinceName, ostrl::CDistinguishedName::DEFAULT_STATE},
    {NID_localityName, ostrl::CDistinguishedName::DEFAULT_CITY},
    {NID_organizationName, ostrl::CDistinguishedName::DEFAULT_COMPANY_NAME},
    {NID_organizationalUnitName, ostrl::CDistinguishedName::DEFAULT_DIVISION_NAME},
    {NID_commonName, ostrl::CDistinguishedName::DEFAULT_COMMON_NAME},
    {NID_pkcs9_emailAddress, ostrl::CDistinguishedName::DEFAULT_EMAIL_ADDR},
};

// What the profile "CA-CB_compliant" asks for.
struct CompliantExtension {
    int nid;
    const char* value;
};

constexpr CompliantExtension compliantExtensions[] = {
    {NID_basic_constraints, "critical,CA:FALSE"},
    {NID_key_usage, "critical,digitalSignature,keyEncipherment"},
    {NID_ext_key_usage, "serverAuth,clientAuth"},
};

void replaceExtension(ExtensionsPointer& extensions, X509V3_CTX* context,
                      const CompliantExtension& wanted)
{
    STACK_OF(X509_EXTENSION)* stack = extensions.release();
    for (int at; (at = X509v3_get_ext_by_NID(stack, wanted.nid, -1)) >= 0;) {
        X509_EXTENSION_free(X509v3_delete_ext(stack, at));
    }
    const OpenSslPointer<X509_EXTENSION, X509_EXTENSION_free> extension(
        X509V3_EXT_nconf_nid(nullptr, context, wanted.nid, wanted.value));
    X509v3_add_ext(&stack, extension.get(), -1);
    extensions.reset(stack);
}

GENERAL_NAME* generalName(const std::string& text)
{
    const std::size_t colon = text.find(':');
    const int type = text.compare(0, colon, "IP") == 0 ? GEN_IPADD : GEN_DNS;
    return a2i_GENERAL_NAME(nullptr, nullptr, nullptr, type, text.c_str() + colon + 1, 0);
}

void addNames(ExtensionsPointer& extensions, const std::vector<std::string>& texts)
{
    int criticality = 0;
    OpenSslPointer<GENERAL_NAMES, GENERAL_NAMES_free> names(static_cast<GENERAL_NAMES*>(
        X509V3_get_d2i(extensions.get(), NID_subject_alt_name, &criticality, nullptr)));
    if (!names) {
        names.reset(GENERAL_NAMES_new());
        criticality = 0;
    }
    for (const std::string& text : texts) {
        GENERAL_NAME* name = generalName(text);
        require(name != nullptr, CnfNotGood, "a network name that no certificate can carry");
        sk_GENERAL_NAME_push(names.get(), name);
    }
    STACK_OF(X509_EXTENSION)* stack = extensions.release();
    X509V3_add1_i2d(&stack, NID_subject_alt_name, names.get(), criticality, X509V3_ADD_REPLACE);
    extensions.reset(stack);
}

void setRandomSerial(X509* certificate)
{
    unsigned char bytes[serialBytes] = {};
    require(RAND_bytes(bytes, serialBytes) == 1, ErrorDuringSignature, "no random serial number");
    // Positive, and of the same length whatever the dice say.
    bytes[0] = static_cast<unsigned char>((bytes[0] & 0x7f) | 0x40);
    const OpenSslPointer<BIGNUM, BN_free> number(BN_bin2bn(bytes, serialBytes, nullptr));
    BN_to_ASN1_INTEGER(number.get(), X509_get_serialNumber(certificate));
}

} // namespace

RequestProfile::RequestProfile(const ostrel::ServiceConfiguration& service)
    : m_conf(parse(configurationText(service))), m_networkNames(alternativeNames(service))
{
}

std::string RequestProfile::requestSetting(const char* name) const
{
    const char* value = NCONF_get_string(m_conf.get(), "req", name);
    ERR_clear_error();
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
        require(error == std::errc() && behind == end, CnfNotGood, "default_bits is no number");
    }
    require(kind.rsaBits >= smallestRsaKey && kind.rsaBits <= largestRsaKey, CnfNotGood,
            "default_bits is out of range");
    return kind;
}

void RequestProfile::takeConfiguredName(X509_NAME* name) const
{
    const std::string section = requestSetting("distinguished_name");
    const bool isPlain = requestSetting("prompt") == "no";
    const STACK_OF(CONF_VALUE)* values = NCONF_get_section(m_conf.get(), section.c_str());
    require(section.empty() || values != nullptr, CnfNotGood, "distinguished_name has no section");
    for (int i = 0; i < sk_CONF_VALUE_num(values); ++i) {
        const CONF_VALUE* entry = sk_CONF_VALUE_value(values, i);
        std::string type = entry->name;
        // With prompts, the answer is the default that the prompt would offer.
        constexpr std::string_view ending = "_default";
        const bool isDefault =
            type.size() > ending.size() &&
            type.compare(type.size() - ending.size(), ending.size(), ending) == 0;
        if (isPlain == isDefault) {
            continue;
        }
        type.resize(isDefault ? type.size() - ending.size() : type.size());
        // "0.organizationName" numbers attributes that occur more than once.
        type.erase(0, type.find_first_of(".:,") + 1);
        require(X509_NAME_add_entry_by_txt(name, type.c_str(), MBSTRING_UTF8,
                                           reinterpret_cast<const unsigned char*>(entry->value), -1,
                                           -1, 0) == 1,
                CnfNotGood, "a subject attribute that no name can carry");
    }
}

void RequestProfile::fillName(X509_NAME* name) const
{
    takeConfiguredName(name);
    for (const DefaultName& row : defaultNames) {
        if (X509_NAME_get_index_by_NID(name, row.nid, -1) == -1) {
            X509_NAME_add_entry_by_NID(name, row.nid, MBSTRING_UTF8,
                                       reinterpret_cast<const unsigned char*>(row.value.c_str()),
                                       -1, -1, 0);
        }
    }
}

ExtensionsPointer RequestProfile::extensions(X509V3_CTX* context) const
{
    STACK_OF(X509_EXTENSION)* stack = sk_X509_EXTENSION_new_null();
    const std::string section = requestSetting("req_extensions");
    const bool isFine = section.empty() || X509V3_EXT_add_nconf_sk(m_conf.get(), context,
                                                                   section.c_str(), &stack) == 1;
    ExtensionsPointer extensions(stack);
    require(isFine, CnfNotGood, "an extension that OpenSSL does not take");
    if (m_isCompliant) {
        for (const CompliantExtension& row : compliantExtensions) {
            replaceExtension(extensions, context, row);
        }
    }
    if (!m_networkNames.empty()) {
        addNames(extensions, m_networkNames);
    }
    return extensions;
}

std::string RequestProfile::request(const Key& key) const
{
    const RequestPointer request(X509_REQ_new());
    fillName(X509_REQ_get_subject_name(request.get()));
    X509_REQ_set_pubkey(request.get(), key.get());
    X509V3_CTX context;
    X509V3_set_ctx(&context, nullptr, nullptr, request.get(), nullptr, 0);
    X509V3_set_nconf(&context, m_conf.get());
    const ExtensionsPointer wanted = extensions(&context);
    const bool hasExtensions = sk_X509_EXTENSION_num(wanted.get()) > 0;
    require((!hasExtensions || X509_REQ_add_extensions(request.get(), wanted.get()) == 1) &&
                X509_REQ_sign(request.get(), key.get(), EVP_sha256()) > 0,
            ErrorDuringCsrGeneration, "the request could not be made");
    return printed([&](BIO* out) { PEM_write_bio_X509_REQ(out, request.get()); });
}

std::string RequestProfile::selfSigned(const Key& key, std::uint32_t days) const
{
    const X509Pointer certificate(X509_new());
    X509_set_version(certificate.get(), X509_VERSION_3);
    setRandomSerial(certificate.get());
    fillName(X509_get_subject_name(certificate.get()));
    X509_set_issuer_name(certificate.get(), X509_get_subject_name(certificate.get()));
    std::time_t now = currentTime();
    X509_time_adj_ex(X509_getm_notBefore(certificate.get()), 0, 0, &now);
    X509_time_adj_ex(X509_getm_notAfter(certificate.get()), static_cast<int>(days), 0, &now);
    X509_set_pubkey(certificate.get(), key.get());
    X509V3_CTX context;
    X509V3_set_ctx(&context, certificate.get(), certificate.get(), nullptr, nullptr, 0);
    X509V3_set_nconf(&context, m_conf.get());
    const ExtensionsPointer wanted = extensions(&context);
    for (int i = 0; i < sk_X509_EXTENSION_num(wanted.get()); ++i) {
        X509_add_ext(certificate.get(), sk_X509_EXTENSION_value(wanted.get(), i), -1);
    }
    require(X509_sign(certificate.get(), key.get(), EVP_sha256()) > 0, ErrorDuringSignature,
            "the certificate could not be signed");
    return printed([&](BIO* out) { PEM_write_bio_X509(out, certificate.get()); });
}

} // namespace ostreld
