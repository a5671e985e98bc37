#include "x509/X509Text.h"

#include "base/Utf8.h"

#include <ostrel/Tools.h>

#include <openssl/objects.h>

#include <algorithm>
#include <ctime>

#include <arpa/inet.h>

namespace ostreld
{

namespace
{

std::string orEmpty(const char* text)
{
    return text != nullptr ? text : "";
}

std::string utf8(const ASN1_STRING* string)
{
    unsigned char* bytes = nullptr;
    const int length = withMemory([&] { return ASN1_STRING_to_UTF8(&bytes, string); });
    const BytesPointer owner(bytes);
    return length < 0 ? std::string()
                      : std::string(reinterpret_cast<const char*>(bytes),
                                    static_cast<std::size_t>(length));
}

std::string forNameRecord(const std::string& value)
{
    std::string text = withoutHidden(value, ' ');
    std::replace_if(
        text.begin(), text.end(), [](char c) { return c == ',' || c == '=' || c == '#'; }, ' ');
    return text;
}

// The members of a name record that take one value, by OpenSSL's numbers.
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
    const int length = withMemory([&] { return OBJ_obj2txt(nullptr, 0, object, 1); });
    require(length >= 0, BadCertificateFormat, "an object identifier without a text");
    std::string text(static_cast<std::size_t>(length), '\0');
    // OBJ_obj2txt() adds a NUL, for which a string has room.
    const int written = withMemory([&] { return OBJ_obj2txt(text.data(), length + 1, object, 1); });
    require(written == length, BadCertificateFormat, "an object identifier without a text");
    return text;
}

// In a record, "|" ends a field, a line feed ends a line, and "#" starts a comment.
std::string forExtensionRecord(const std::string& value)
{
    std::string text = withoutHidden(value, ' ');
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
    record.short_name = orEmpty(OBJ_nid2sn(nid));
    record.long_name = longName(nid);
    // If OpenSSL cannot print an extension, it is also missing in the details.
    const std::string value = printed([&](BIO* out) {
        return X509V3_EXT_print(out, extension, X509V3_EXT_DUMP_UNKNOWN, 0) >= 0;
    });
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

std::string nameText(const X509_NAME* name)
{
    return printed([&](BIO* out) {
        return X509_NAME_print_ex(out, name, 0, XN_FLAG_ONELINE & ~ASN1_STRFLGS_ESC_MSB) >= 0;
    });
}

std::string commonNameOf(const X509_NAME* name)
{
    std::string result;
    for (int i = -1; (i = X509_NAME_get_index_by_NID(name, NID_commonName, i)) >= 0;) {
        result = utf8(X509_NAME_ENTRY_get_data(X509_NAME_get_entry(name, i)));
    }
    return withoutHidden(result, '?');
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

std::int64_t secondsSince1970(const ASN1_TIME* time)
{
    std::tm fields{};
    require(ASN1_TIME_to_tm(time, &fields) == 1, BadCertificateFormat,
            "a date that does not exist");
    return std::max(std::int64_t{0}, ostrel::Tools::getInternalTimeGmt(&fields));
}

std::string longName(int nid)
{
    return orEmpty(OBJ_nid2ln(nid));
}

EVP_PKEY* keyIn(X509_PUBKEY* holder)
{
    return withMemory([&] { return X509_PUBKEY_get0(holder); });
}

std::string keyType(const EVP_PKEY* key)
{
    return orEmpty(key != nullptr ? EVP_PKEY_get0_type_name(key) : nullptr);
}

// Taken as the certificate holds it: encoding the key again takes most of the time of a record.
std::string keyText(const X509_PUBKEY* holder)
{
    unsigned char* der = nullptr;
    const int length = withMemory([&] { return i2d_X509_PUBKEY(holder, &der); });
    const BytesPointer owner(der);
    require(length > 0, BadCertificateFormat, "a public key that cannot be encoded");
    std::string text(4 * ((static_cast<std::size_t>(length) + 2) / 3) + 1, '\0');
    EVP_EncodeBlock(reinterpret_cast<unsigned char*>(text.data()), der, length);
    text.pop_back();
    return text;
}

AlternativeNames alternativeNamesOf(const X509* certificate)
{
    AlternativeNames result;
    using Names = OpenSslPointer<GENERAL_NAMES, GENERAL_NAMES_free>;
    const Names names = withMemory([&] {
        return Names(static_cast<GENERAL_NAMES*>(
            X509_get_ext_d2i(certificate, NID_subject_alt_name, nullptr, nullptr)));
    });
    for (int i = 0; i < sk_GENERAL_NAME_num(names.get()); ++i) {
        int type = 0;
        const void* value = GENERAL_NAME_get0_value(sk_GENERAL_NAME_value(names.get(), i), &type);
        if (type == GEN_IPADD) {
            result.ips.push_back(addressText(static_cast<const ASN1_OCTET_STRING*>(value)));
        } else if (type == GEN_DNS) {
            result.hostnames.push_back(
                withoutHidden(utf8(static_cast<const ASN1_STRING*>(value)), '?'));
        }
    }
    return result;
}

} // namespace ostreld
