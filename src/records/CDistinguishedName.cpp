#include <ostrl/CDistinguishedName.h>
#include <ostrl/splitstr.h>

#include <variant>

namespace ostrl
{

const std::string CDistinguishedName::DEFAULT_COUNTRY_CODE = "US";
const std::string CDistinguishedName::DEFAULT_STATE = "NC";
const std::string CDistinguishedName::DEFAULT_CITY = "Brackton";
const std::string CDistinguishedName::DEFAULT_COMPANY_NAME = "Korvane Corporation";
const std::string CDistinguishedName::DEFAULT_DIVISION_NAME = "Systems Division";
const std::string CDistinguishedName::DEFAULT_COMMON_NAME = "192.168.1.18";
const std::string CDistinguishedName::DEFAULT_EMAIL_ADDR = "admin@example.com";

namespace
{

using Name = CDistinguishedName;
using Texts = std::vector<std::string>;

struct Attribute {
    const char* name;
    std::variant<std::string Name::*, Texts Name::*> member;
};

// In the order of the text form.
constexpr Attribute attributes[] = {
    {"C", &Name::countryCode},   {"ST", &Name::state},         {"L", &Name::city},
    {"O", &Name::companyName},   {"OU", &Name::divisionNames}, {"CN", &Name::commonName},
    {"email", &Name::emailAddr},
};

void append(std::string& out, const char* name, const std::string& value)
{
    out += out.empty() ? "" : ", ";
    out.append(name).append("=").append(value);
}

void write(std::string& out, const char* name, const std::string& value)
{
    if (!value.empty()) {
        append(out, name, value);
    }
}

// Intended: an empty OU is written, although no other empty attribute is.
void write(std::string& out, const char* name, const Texts& values)
{
    for (const std::string& value : values) {
        append(out, name, value);
    }
}

void take(std::string& member, const std::string& value)
{
    member = value;
}

void take(Texts& member, const std::string& value)
{
    member.push_back(value);
}

void takeAttribute(Name& dn, const std::string& name, const std::string& value)
{
    for (const Attribute& attribute : attributes) {
        if (name == attribute.name) {
            std::visit([&](auto member) { take(dn.*member, value); }, attribute.member);
        }
    }
}

std::string withoutOneLeadingSpace(const std::string& part)
{
    return part.substr(part.compare(0, 1, " ") == 0 ? 1 : 0);
}

} // namespace

CDistinguishedName::CDistinguishedName() = default;

void CDistinguishedName::to(std::string& out) const
{
    std::string text;
    for (const Attribute& attribute : attributes) {
        std::visit([&](auto member) { write(text, attribute.name, this->*member); },
                   attribute.member);
    }
    out = text;
}

void CDistinguishedName::from(const std::string& text)
{
    const Texts parts = splitstr(text, ',');
    clear();
    for (const std::string& part : parts) {
        const Texts pieces = splitstr(withoutOneLeadingSpace(part), '=');
        // Intended: a value ends at its first equals sign.
        if (pieces.size() >= 2) {
            takeAttribute(*this, pieces[0], pieces[1]);
        }
    }
}

void CDistinguishedName::setToDefault()
{
    countryCode = DEFAULT_COUNTRY_CODE;
    state = DEFAULT_STATE;
    city = DEFAULT_CITY;
    companyName = DEFAULT_COMPANY_NAME;
    // Intended: added, so a second call leaves two.
    divisionNames.push_back(DEFAULT_DIVISION_NAME);
    commonName = DEFAULT_COMMON_NAME;
    emailAddr = DEFAULT_EMAIL_ADDR;
}

void CDistinguishedName::clear()
{
    *this = CDistinguishedName();
}

} // namespace ostrl
