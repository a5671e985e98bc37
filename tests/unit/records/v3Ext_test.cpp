#include <ostrl/v3Ext.h>

#include "support/CapturedErrors.h"
#include "unit/records/RecordText.h"

#include <gtest/gtest.h>

namespace
{

using ostrl::v3Ext;
using record_text::textOf;

v3Ext extension(const std::string& id, const std::string& shortName, const std::string& longName,
                const std::string& comment)
{
    v3Ext result;
    result.obj_id = id;
    result.short_name = shortName;
    result.long_name = longName;
    result.comment = comment;
    return result;
}

struct Row {
    const char* sentence;
    v3Ext value;
    const char* text;
};

TEST(V3Extension, IsWrittenWithAllFourFieldsAndALineFeed)
{
    const Row rows[] = {
        {"a new extension", v3Ext(), "obj_id |short_name |long_name |comment \n"},
        {"every field", extension("2.5.29.19", "basicConstraints", "Basic Constraints", "CA:TRUE"),
         "obj_id 2.5.29.19|short_name basicConstraints|long_name Basic Constraints|"
         "comment CA:TRUE\n"},
        {"some fields", extension("", "a", "", "b"), "obj_id |short_name a|long_name |comment b\n"},
        {"nothing is quoted", extension("a|b", "", "", "c\nd"),
         "obj_id a|b|short_name |long_name |comment c\nd\n"},
    };
    for (const Row& row : rows) {
        EXPECT_EQ(textOf(row.value), row.text) << row.sentence;
    }
}

TEST(V3Extension, IsReadFieldByField)
{
    const Row rows[] = {
        {"every field", extension("1", "2", "3", "4"),
         "obj_id 1|short_name 2|long_name 3|comment 4"},
        {"any order", extension("1", "2", "3", "4"), "comment 4|long_name 3|obj_id 1|short_name 2"},
        {"an absent field keeps its value", extension("1", "short", "long", "x"), "obj_id 1"},
        {"an empty text changes nothing", extension("id", "short", "long", "x"), ""},
        {"a key and a space set an empty value", extension("", "short", "long", "x"), "obj_id "},
        {"a key without a space is its own value", extension("id", "short", "long", "comment"),
         "comment"},
        {"the last of two counts", extension("2", "short", "long", "x"), "obj_id 1|obj_id 2"},
        {"only the first space separates", extension(" 1  2 ", "short", "long", "x"),
         "obj_id  1  2 "},
        {"a tab does not separate", extension("id", "short", "long", "x"), "obj_id\t1"},
        {"keys are case-sensitive", extension("id", "short", "long", "x"), "Obj_id 1|COMMENT 2"},
        {"a leading space hides a key", extension("id", "short", "long", "x"), " obj_id 1"},
        {"unknown keys and empty fields are skipped", extension("1", "short", "long", "2"),
         "a b||obj_id 1|c|comment 2|"},
        {"a line feed belongs to the value", extension("id", "short", "long", "4\n"),
         "comment 4\n"},
    };
    for (const Row& row : rows) {
        v3Ext value = extension("id", "short", "long", "x");
        value.from(row.text);
        EXPECT_EQ(textOf(value), textOf(row.value)) << row.sentence;
    }
}

TEST(V3Extension, KeepsItsLineFeedInTheLastFieldWhenReadBack)
{
    v3Ext value;
    value.from(textOf(extension("1", "2", "3", "4")));
    EXPECT_EQ(textOf(value), textOf(extension("1", "2", "3", "4\n")));
}

TEST(V3Extension, CanBeReadFromItsOwnMember)
{
    v3Ext value = extension("", "", "", "comment x|obj_id 1");
    value.from(value.comment);
    EXPECT_EQ(textOf(value), textOf(extension("1", "", "", "x")));
}

TEST(V3Extension, TracesEachFieldThatItReads)
{
    const support::CapturedTrace trace;
    v3Ext().from("obj_id 1||x");
    EXPECT_EQ(trace.text(), "v3Extentiondata:obj_id 1||x\n"
                            "v3Extention:obj_id 1\n"
                            "v3Extention:\n"
                            "v3Extention:x\n");
}

TEST(V3Extension, TracesAnEmptyTextOnce)
{
    const support::CapturedTrace trace;
    v3Ext().from("");
    EXPECT_EQ(trace.text(), "v3Extentiondata:\n");
}

TEST(V3Extension, TracesNothingWithoutTheDebugFlag)
{
    const support::CapturedErrors errors;
    v3Ext().from("obj_id 1|nonsense");
    EXPECT_EQ(errors.text(), "");
}

} // namespace
