#pragma once

#include <ostrel/Export.h>

#include <string>
#include <vector>

/// Text records: what the daemon tells of certificates, requests and names.
namespace ostrl
{

/// The distinguished name of a certificate's subject or issuer. A value.
///
/// Its text form is one line, the present attributes in this order, without
/// any quoting:
///
///     C=US, ST=NC, L=Brackton, O=Company, OU=Division, CN=name, email=a@b
///
/// Threads: as any value. Errors: nothing but std::bad_alloc; a text that does
/// not fit is skipped piece by piece.
///
///     ostrl::CDistinguishedName name;
///     name.from("C=US, CN=web.example.com");
///     name.commonName; // "web.example.com"
class OSTREL_API CDistinguishedName
{
public:
    /// @{
    /// The name of a device that has not been configured, attribute by attribute.
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

    /// Replaces `out` by the text form. Empty attributes are left out, empty
    /// organisational units (OU) are not.
    void to(std::string& out) const;

    /// Replaces this name by the one that `text` holds. A value ends at its
    /// first equals sign; unknown attributes and empty values are skipped; of
    /// a repeated attribute the last one counts, and every OU.
    void from(const std::string& text);

    /// Assigns the defaults. The default OU is added to those already there.
    void setToDefault();

    /// Empties every attribute.
    void clear();

    std::string countryCode;                ///< C
    std::string state;                      ///< ST
    std::string city;                       ///< L
    std::string companyName;                ///< O
    std::vector<std::string> divisionNames; ///< Each OU, in its order.
    std::string commonName;                 ///< CN
    std::string emailAddr;                  ///< email
};

} // namespace ostrl
