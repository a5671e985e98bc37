#include <ostrel/CertificateIdList.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <set>

namespace
{

using ostrel::CertificateIdList;
using Ids = std::vector<std::string>;

TEST(CertificateIdList, StartsEmpty)
{
    const CertificateIdList list;
    EXPECT_EQ(list.toArray(), Ids());
    EXPECT_EQ(list.toTextList(","), "");
    EXPECT_FALSE(list.exist(""));
}

struct OrderRow {
    const char* sentence;
    Ids ids;
    Ids expected;
};

const OrderRow orders[] = {
    {"no ids", {}, {}},
    {"one", {"a"}, {"a"}},
    {"ids in order", {"a", "b", "c"}, {"a", "b", "c"}},
    {"ids in reverse order", {"c", "b", "a"}, {"a", "b", "c"}},
    {"digits are characters", {"9", "10", "1"}, {"1", "10", "9"}},
    {"an id twice in a row", {"a", "a", "b"}, {"a", "b"}},
    {"an id twice, apart", {"b", "a", "b"}, {"a", "b"}},
    {"only repetitions", {"a", "a", "a"}, {"a"}},
    {"a repetition after a long ordered start", {"a", "b", "c", "d", "a"}, {"a", "b", "c", "d"}},
    {"an empty id comes first", {"a", ""}, {"", "a"}},
    {"capitals before small letters", {"b", "A", "a", "B"}, {"A", "B", "a", "b"}},
    {"characters above 127 come last", {"\xFF", "z"}, {"z", "\xFF"}},
    {"a prefix before the longer id", {"ab", "a"}, {"a", "ab"}},
    {"blanks count", {"a", " a", "a "}, {" a", "a", "a "}},
    {"a NUL counts", {std::string("a\0", 2), "a"}, {"a", std::string("a\0", 2)}},
};

TEST(CertificateIdList, ReturnsEachIdOnceInAscendingOrder)
{
    for (const OrderRow& row : orders) {
        EXPECT_EQ(CertificateIdList(row.ids).toArray(), row.expected) << row.sentence;
    }
}

TEST(CertificateIdList, IsTheSameForAnyOrderOfItsIds)
{
    Ids ids = {"", "1", "1", "10", "2", "9"};
    do {
        const std::set<std::string> expected(ids.begin(), ids.end());
        EXPECT_EQ(CertificateIdList(ids).toArray(), Ids(expected.begin(), expected.end()));
    } while (std::next_permutation(ids.begin(), ids.end()));
}

TEST(CertificateIdList, MovesItsArrayOutOfATemporaryList)
{
    CertificateIdList list(Ids{"b", "a"});
    EXPECT_EQ(std::move(list).toArray(), (Ids{"a", "b"}));
}

TEST(CertificateIdList, FindsOnlyItsExactIds)
{
    const CertificateIdList list(Ids{"10", "9", "abc"});
    for (const char* id : {"10", "9", "abc"}) {
        EXPECT_TRUE(list.exist(id)) << id;
    }
    for (const char* id : {"", "1", "100", "ab", "abcd", "ABC", " 9", "9 ", "9\n"}) {
        EXPECT_FALSE(list.exist(id)) << id;
    }
}

struct SplitRow {
    const char* sentence;
    std::string text;
    char separator;
    Ids expected;
};

TEST(CertificateIdList, SplitsATextAtEverySeparator)
{
    const SplitRow rows[] = {
        {"an empty text gives no id", "", ',', {}},
        {"no separator", "a", ',', {"a"}},
        {"a trailing separator gives no id", "a,", ',', {"a"}},
        {"adjacent and leading separators give the empty id", ",a,,b,", ',', {"", "a", "b"}},
        {"a single separator gives the empty id", ",", ',', {""}},
        {"repeated ids are kept once", "9,10,9", ',', {"10", "9"}},
        {"blanks stay", " b ,a", ',', {" b ", "a"}},
        {"another separator", "b;a,c", ';', {"a,c", "b"}},
        {"the line feed", "b\na\n", '\n', {"a", "b"}},
    };
    for (const SplitRow& row : rows) {
        EXPECT_EQ(CertificateIdList(row.text, row.separator).toArray(), row.expected)
            << row.sentence;
    }
}

struct TextRow {
    const char* sentence;
    Ids ids;
    std::string separator;
    std::string expected;
};

TEST(CertificateIdList, WritesTheSeparatorAfterEveryId)
{
    const TextRow rows[] = {
        {"no ids", {}, ",", ""},
        {"one", {"a"}, ",", "a,"},
        {"two", {"b", "a"}, ",", "a,b,"},
        {"ids of digits", {"9", "10"}, ",", "10,9,"},
        {"a longer separator", {"a", "b"}, ", ", "a, b, "},
        {"no separator", {"a", "b"}, "", "ab"},
        {"the empty id", {""}, ",", ","},
        {"an id that contains the separator", {"a,b"}, ",", "a,b,"},
    };
    for (const TextRow& row : rows) {
        EXPECT_EQ(CertificateIdList(row.ids).toTextList(row.separator), row.expected)
            << row.sentence;
    }
}

TEST(CertificateIdList, CanBeReadBackFromItsText)
{
    for (const OrderRow& row : orders) {
        const std::string text = CertificateIdList(row.ids).toTextList(",");
        EXPECT_EQ(CertificateIdList(text, ',').toArray(), row.expected) << row.sentence;
    }
}

} // namespace
