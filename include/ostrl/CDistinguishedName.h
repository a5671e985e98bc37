#pragma once

#include <ostrel/Export.h>

#include <string>
#include <vector>

/// Text records of certificates, signing requests and names, as the daemon sends them.
namespace ostrl
{

/// The distinguished name of a certificate's subject or issuer, for applications that
/// read a record and for the daemon. A value: copies are independent.
///
/// The text form is one line that contains the attributes in this order, without
/// quoting (docs/FILES.md has the grammar):
///
///     C=US, ST=NC, L=Brackton, O=Company, OU=Division, CN=name, email=a@b
///
/// Threads: several threads may read one object at once; a change needs exclusive
/// access. Blocking: waits for nothing. Errors: throws only std::bad_alloc; a part of
/// a text that does not match is skipped.
///
///     ostrl::CDistinguishedName name;
///     name.from("C=US, CN=web.example.com");
///     name.commonName; // "web.example.com"
class OSTREL_API CDistinguishedName
{
public:
    /// @{
    /// The attributes of a device that is not configured.
    static const std::string DEFAULT_COUNTRY_CODE;
    static const std::string DEFAULT_STATE;
    static const std::string DEFAULT_CITY;
    static const std::string DEFAULT_COMPANY_NAME;
    static const std::string DEFAULT_DIVISION_NAME;
    static const std::string DEFAULT_COMMON_NAME;
    static const std::string DEFAULT_EMAIL_ADDR;
    /// @}

    /// Every attribute empty.
    CDistinguishedName();

    /// Replaces `out` by the text form. It contains no empty attribute, except
    /// empty organisational units (OU).
    void to(std::string& out) const;

    /// Replaces this name by the one in `text`. A value ends at its first equals
    /// sign. Unknown attributes and empty values are skipped. If an attribute is
    /// repeated, the last one counts; every OU counts.
    void from(const std::string& text);

    /// Sets every attribute to its default. Adds the default OU to those that the
    /// name has.
    void setToDefault();

    /// Empties every attribute.
    void clear();

    std::string countryCode;                ///< C
    std::string state;                      ///< ST
    std::string city;                       ///< L
    std::string companyName;                ///< O
    std::vector<std::string> divisionNames; ///< Each OU, in the order of the text.
    std::string commonName;                 ///< CN
    std::string emailAddr;                  ///< email
};

} // namespace ostrl
