#include <ostrl/CDistinguishedName.h>

#include "unit/records/RecordText.h"

#include <gtest/gtest.h>

namespace
{

using ostrl::CDistinguishedName;
using record_text::textOf;
constexpr auto nameOf = record_text::recordOf<CDistinguishedName>;
using Texts = std::vector<std::string>;

Texts valuesOf(const CDistinguishedName& name)
{
    Texts values = {name.countryCode, name.state, name.city, name.companyName};
    values.insert(values.end(), name.divisionNames.begin(), name.divisionNames.end());
    values.insert(values.end(), {name.commonName, name.emailAddr});
    return values;
}

TEST(DistinguishedName, StartsEmpty)
{
    EXPECT_EQ(valuesOf(CDistinguishedName()), Texts(6));
    EXPECT_EQ(textOf(CDistinguishedName()), "");
}

struct RenderRow {
    const char* sentence;
    CDistinguishedName name;
    const char* expected;
};

CDistinguishedName with(std::string CDistinguishedName::*member, const std::string& value)
{
    CDistinguishedName name;
    name.*member = value;
    return name;
}

CDistinguishedName withDivisions(const Texts& divisions)
{
    CDistinguishedName name;
    name.divisionNames = divisions;
    return name;
}

CDistinguishedName defaultName()
{
    CDistinguishedName name;
    name.setToDefault();
    return name;
}

TEST(DistinguishedName, IsWrittenInAFixedOrderWithoutEmptyAttributes)
{
    using Name = CDistinguishedName;
    const RenderRow rows[] = {
        {"only a country", with(&Name::countryCode, "US"), "C=US"},
        {"only a state", with(&Name::state, "NC"), "ST=NC"},
        {"only a city", with(&Name::city, "Brackton"), "L=Brackton"},
        {"only a company", with(&Name::companyName, "Company"), "O=Company"},
        {"only a common name", with(&Name::commonName, "web"), "CN=web"},
        {"only a mail address", with(&Name::emailAddr, "a@b"), "email=a@b"},
        {"one division", withDivisions({"A"}), "OU=A"},
        {"divisions in their own order", withDivisions({"B", "A"}), "OU=B, OU=A"},
        {"an empty division, unlike other empty attributes", withDivisions({""}), "OU="},
        {"empty divisions among others", withDivisions({"", "A", ""}), "OU=, OU=A, OU="},
        {"nothing is quoted", with(&Name::commonName, "a, b=\"c\""), "CN=a, b=\"c\""},
        {"every attribute", defaultName(),
         "C=US, ST=NC, L=Brackton, O=Korvane Corporation, OU=Systems Division, "
         "CN=192.168.1.18, email=admin@example.com"},
    };
    for (const RenderRow& row : rows) {
        EXPECT_EQ(textOf(row.name), row.expected) << row.sentence;
    }
}

struct ParseRow {
    const char* sentence;
    const char* text;
    const char* rendered;
};

TEST(DistinguishedName, IsReadAttributeByAttribute)
{
    const ParseRow rows[] = {
        {"an empty text", "", ""},
        {"no attribute", "nonsense", ""},
        {"only separators", ", ,,=,", ""},
        {"a comma and a space between attributes", "C=US, ST=NC", "C=US, ST=NC"},
        {"a bare comma", "C=US,ST=NC", "C=US, ST=NC"},
        {"the second of two spaces hides the attribute", "C=US,  ST=NC", "C=US"},
        {"a space at the very start is dropped", " C=US", "C=US"},
        {"a tab is not dropped", "\tC=US", ""},
        {"any order", "email=a@b, CN=web, OU=x, O=Co, L=City, ST=NC, C=US",
         "C=US, ST=NC, L=City, O=Co, OU=x, CN=web, email=a@b"},
        {"every division, in order", "OU=b, CN=web, OU=a", "OU=b, OU=a, CN=web"},
        {"the last of two common names", "CN=a, CN=b", "CN=b"},
        {"an empty value changes nothing", "CN=a, CN=", "CN=a"},
        {"an empty division is lost", "OU=, OU=a", "OU=a"},
        {"a value ends at its first equals sign", "CN=a=b=c", "CN=a"},
        {"two equals signs leave an empty value", "CN=a, CN==b", ""},
        {"a value ends at a comma", "CN=a,b", "CN=a"},
        {"blanks around the equals sign count", "CN= a, ST =b", "CN= a"},
        {"names are case-sensitive", "cn=a, Email=b, EMAIL=c, c=US", ""},
        {"unknown names are skipped", "X=1, CN=a, emailAddress=b", "CN=a"},
        {"a prefix of a name is a different name", "S=1, O=Co, E=x", "O=Co"},
        {"a comma at the end", "CN=a,", "CN=a"},
    };
    for (const ParseRow& row : rows) {
        EXPECT_EQ(textOf(nameOf(row.text)), row.rendered) << row.sentence;
    }
}

TEST(DistinguishedName, ReadsEachAttributeIntoItsMember)
{
    const CDistinguishedName name = nameOf("C=1, ST=2, L=3, O=4, OU=5, OU=6, CN=7, email=8");
    EXPECT_EQ(valuesOf(name), (Texts{"1", "2", "3", "4", "5", "6", "7", "8"}));
}

TEST(DistinguishedName, IsClearedBeforeAnotherIsRead)
{
    CDistinguishedName name = defaultName();
    name.from("CN=web");
    EXPECT_EQ(textOf(name), "CN=web");
    name.from("");
    EXPECT_EQ(textOf(name), "");
}

TEST(DistinguishedName, CanBeReadFromItsOwnMember)
{
    CDistinguishedName name = with(&CDistinguishedName::city, "CN=web, L=City");
    name.from(name.city);
    EXPECT_EQ(textOf(name), "L=City, CN=web");
}

TEST(DistinguishedName, CanBeReadBackUnchanged)
{
    const char* const texts[] = {
        "C=US",
        "ST=NC, L=City",
        "OU=a, OU=a, CN=web",
        "O=Café Ω, CN=日本",
        "CN=#x y  z",
        "C=US, ST=NC, L=City, O=Co, OU=a, OU=b, CN=web, email=a@b",
    };
    for (const char* text : texts) {
        EXPECT_EQ(textOf(nameOf(text)), text);
    }
}

TEST(DistinguishedName, HasTheDefaultsOfAnUnconfiguredDevice)
{
    EXPECT_EQ(CDistinguishedName::DEFAULT_COUNTRY_CODE, "US");
    EXPECT_EQ(CDistinguishedName::DEFAULT_STATE, "NC");
    EXPECT_EQ(CDistinguishedName::DEFAULT_CITY, "Brackton");
    EXPECT_EQ(CDistinguishedName::DEFAULT_COMPANY_NAME, "Korvane Corporation");
    EXPECT_EQ(CDistinguishedName::DEFAULT_DIVISION_NAME, "Systems Division");
    EXPECT_EQ(CDistinguishedName::DEFAULT_COMMON_NAME, "192.168.1.18");
    EXPECT_EQ(CDistinguishedName::DEFAULT_EMAIL_ADDR, "admin@example.com");
    EXPECT_EQ(valuesOf(defaultName()),
              (Texts{"US", "NC", "Brackton", "Korvane Corporation", "Systems Division",
                     "192.168.1.18", "admin@example.com"}));
}

TEST(DistinguishedName, AddsTheDefaultDivisionAtEachCall)
{
    CDistinguishedName name = withDivisions({"mine"});
    name.setToDefault();
    name.setToDefault();
    EXPECT_EQ(name.divisionNames, (Texts{"mine", "Systems Division", "Systems Division"}));
}

TEST(DistinguishedName, IsEmptyAfterClear)
{
    CDistinguishedName name = defaultName();
    name.clear();
    EXPECT_EQ(valuesOf(name), Texts(6));
}

} // namespace
