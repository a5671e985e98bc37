#include "x509/X509Text.h"

#include "base/Log.h"

#include <ostrel/Tools.h>

#include <openssl/objects.h>
#include <openssl/x509v3.h>

#include <algorithm>
#include <ctime>
#include <memory>

#include <arpa/inet.h>

namespace ostreld
{

namespace
{

std::string onOneLine(std::string text, char replacement)
{
    std::replace_if(text.begin(), text.end(), isControlCharacter, replacement);
    return text;
}

std::string utf8(const ASN1_STRING* string)
{
    unsigned char* bytes = nullptr;
    const int length = ASN1_STRING_to_UTF8(&bytes, string);
    if (length < 0) {
        return {};
    }
    const std::unique_ptr<unsigned char, void (*)(unsigned char*)> owner(
        bytes, [](unsigned char* p) { OPENSSL_free(p); });
    return std::string(reinterpret_cast<const char*>(bytes), static_cast<std::size_t>(length));
}

std::string forNameRecord(const std::string& value)
{
    std::string text = onOneLine(value, ' ');
    std::replace_if(
        text.begin(), text.end(), [](char c) { return c == ',' || c == '=' || c == '#'; }, ' ');
    return text;
}

// The members of a name record that take one value, by OpenSSL's number.
struct NameField {
    int nid;
    std::string ostrl::CDistinguishedName::*field;
};

constexpr NameField nameFields[] = {
    {NID_countryName, &ostrl::CDistinguishedName::countryCode},
    {NID_stateOrProvinceName, &ostrl::CDistinguishedName::state},
    {NID_localityName, &ostrl::CDistinguishedName::city},
    {NID_organizationName, &ostrl::CDistinguishedName::companyName},
    {NID_commonName, &ostrl::CDistinguishedName::commonName},
    {NID_pkcs9_emailAddress, &ostrl::CDistinguishedName::emailAddr},
};

void putIntoRecord(const X509_NAME_ENTRY* entry, ostrl::CDistinguishedName& record)
{
    const int nid = OBJ_obj2nid(X509_NAME_ENTRY_get_object(entry));
    const std::string value = forNameRecord(utf8(X509_NAME_ENTRY_get_data(entry)));
    if (nid == NID_organizationalUnitName) {
        record.divisionNames.push_back(value);
        return;
    }
    for (const NameField& row : nameFields) {
        if (row.nid == nid) {
            record.*row.field = value;
        }
    }
}

std::string objectText(const ASN1_OBJECT* object)
{
    char text[128] = "";
    OBJ_obj2txt(text, sizeof text, object, 1);
    return text;
}

// A record's field ends at "|", its line at a line feed, and "#" starts a comment.
std::string forExtensionRecord(const std::string& value)
{
    std::string text = onOneLine(value, ' ');
    std::replace_if(
        text.begin(), text.end(), [](char c) { return c == '|' || c == '#'; }, ' ');
    return text;
}

ostrl::v3Ext extensionRecord(X509_EXTENSION* extension)
{
    ASN1_OBJECT* object = X509_EXTENSION_get_object(extension);
    const int nid = OBJ_obj2nid(object);
    ostrl::v3Ext record;
    record.obj_id = objectText(object);
    record.short_name = OBJ_nid2sn(nid);
    record.long_name = OBJ_nid2ln(nid);
    const std::string value =
        printed([&](BIO* out) { X509V3_EXT_print(out, extension, X509V3_EXT_DUMP_UNKNOWN, 0); });
    const char* criticality = X509_EXTENSION_get_critical(extension) != 0 ? "critical, " : "";
    record.comment = forExtensionRecord(criticality + value);
    return record;
}

std::string addressText(const ASN1_OCTET_STRING* address)
{
    const int family = ASN1_STRING_length(address) == sizeof(in_addr) ? AF_INET : AF_INET6;
    char text[INET6_ADDRSTRLEN] = "";
    const bool isAddress = family == AF_INET || ASN1_STRING_length(address) == sizeof(in6_addr);
    if (isAddress) {
        ::inet_ntop(family, ASN1_STRING_get0_data(address), text, sizeof text);
    }
    return text;
}

} // namespace

std::string printed(const std::function<void(BIO*)>& print)
{
    const std::unique_ptr<BIO, int (*)(BIO*)> out(BIO_new(BIO_s_mem()), BIO_free);
    print(out.get());
    char* bytes = nullptr;
    const long length = BIO_get_mem_data(out.get(), &bytes);
    return std::string(bytes, static_cast<std::size_t>(length));
}

std::string nameText(const X509_NAME* name)
{
    return printed([&](BIO* out) {
        X509_NAME_print_ex(out, name, 0, XN_FLAG_ONELINE & ~ASN1_STRFLGS_ESC_MSB);
    });
}

std::string commonNameOf(const X509_NAME* name)
{
    std::string result;
    for (int i = -1; (i = X509_NAME_get_index_by_NID(name, NID_commonName, i)) >= 0;) {
        result = utf8(X509_NAME_ENTRY_get_data(X509_NAME_get_entry(name, i)));
    }
    return onOneLine(result, '?');
}

ostrl::CDistinguishedName nameRecord(const X509_NAME* name)
{
    ostrl::CDistinguishedName record;
    for (int i = 0; i < X509_NAME_entry_count(name); ++i) {
        putIntoRecord(X509_NAME_get_entry(name, i), record);
    }
    return record;
}

std::vector<ostrl::v3Ext> extensionRecords(const STACK_OF(X509_EXTENSION) * extensions)
{
    const int count = sk_X509_EXTENSION_num(extensions);
    std::vector<ostrl::v3Ext> records;
    records.reserve(count > 0 ? static_cast<std::size_t>(count) : 0);
    for (int i = 0; i < count; ++i) {
        records.push_back(extensionRecord(sk_X509_EXTENSION_value(extensions, i)));
    }
    return records;
}

std::uint64_t secondsSince1970(const ASN1_TIME* time)
{
    std::tm fields{};
    if (ASN1_TIME_to_tm(time, &fields) != 1) {
        return 0;
    }
    const std::int64_t seconds = ostrel::Tools::getInternalTimeGmt(&fields);
    return seconds < 0 ? 0 : static_cast<std::uint64_t>(seconds);
}

std::string keyType(const EVP_PKEY* key)
{
    const char* name = key != nullptr ? EVP_PKEY_get0_type_name(key) : nullptr;
    return name != nullptr ? name : "";
}

std::string keyText(EVP_PKEY* key)
{
    unsigned char* der = nullptr;
    const int length = key != nullptr ? i2d_PUBKEY(key, &der) : 0;
    if (length <= 0) {
        return {};
    }
    std::string text(4 * ((static_cast<std::size_t>(length) + 2) / 3) + 1, '\0');
    EVP_EncodeBlock(reinterpret_cast<unsigned char*>(text.data()), der, length);
    OPENSSL_free(der);
    text.pop_back();
    return text;
}

AlternativeNames alternativeNamesOf(const X509* certificate)
{
    AlternativeNames result;
    const std::unique_ptr<GENERAL_NAMES, void (*)(GENERAL_NAMES*)> names(
        static_cast<GENERAL_NAMES*>(
            X509_get_ext_d2i(certificate, NID_subject_alt_name, nullptr, nullptr)),
        GENERAL_NAMES_free);
    for (int i = 0; i < sk_GENERAL_NAME_num(names.get()); ++i) {
        int type = 0;
        const void* value = GENERAL_NAME_get0_value(sk_GENERAL_NAME_value(names.get(), i), &type);
        if (type == GEN_IPADD) {
            result.ips.push_back(addressText(static_cast<const ASN1_OCTET_STRING*>(value)));
        } else if (type == GEN_DNS) {
            result.hostnames.push_back(
                onOneLine(utf8(static_cast<const ASN1_STRING*>(value)), '?'));
        }
    }
    return result;
}

} // namespace ostreld
