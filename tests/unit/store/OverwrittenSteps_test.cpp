#include "support/VirtualSlot.h"
#include "unit/store/OverwrittenFileCase.h"

#include <gtest/gtest.h>

#include <cstring>
#include <iterator>
#include <new>
#include <stdexcept>
#include <utility>

namespace
{

using ostrelApi::OverwrittenData;
using support::slotOf;
using Map = std::map<std::string, std::string>;

// Records which operations run.
class RecordedData : public OpenData
{
public:
    using OpenData::OpenData;

    void setData(const std::string& key, const std::string& value) override
    {
        m_calls += "setData ";
        OverwrittenData::setData(key, value);
    }
    std::string getData(const std::string& key) override
    {
        m_calls += "getData ";
        return OverwrittenData::getData(key);
    }
    std::string operator[](const std::string& key) override
    {
        m_calls += "[] ";
        return OverwrittenData::operator[](key);
    }
    Map getMap() override
    {
        m_calls += "getMap ";
        return OverwrittenData::getMap();
    }
    bool isUpToDate() override
    {
        m_calls += "isUpToDate ";
        return OverwrittenData::isUpToDate();
    }
    void write() override
    {
        m_calls += "write ";
        OverwrittenData::write();
    }
    void update() override
    {
        m_calls += "update ";
        OverwrittenData::update();
    }
    void discardAll() override
    {
        m_calls += "discardAll ";
        OverwrittenData::discardAll();
    }
    void discard(const std::string& key) override
    {
        m_calls += "discard ";
        OverwrittenData::discard(key);
    }

    std::string takeCalls() { return std::exchange(m_calls, ""); }

private:
    std::string m_calls;
};

struct Row {
    const char* sentence;
    void (*call)(OverwrittenData& data);
    const char* expected;
};

class OverwriteSteps : public OverwrittenFileTest
{
};

TEST_F(OverwriteSteps, CallEachOtherVirtually)
{
    const Row rows[] = {
        {"setData", [](OverwrittenData& data) { data.setData("a", ""); }, "setData "},
        {"getData", [](OverwrittenData& data) { data.getData("a"); }, "getData update isUpToDate "},
        {"operator[]", [](OverwrittenData& data) { data["a"]; }, "[] getData update isUpToDate "},
        {"getMap", [](OverwrittenData& data) { data.getMap(); }, "getMap update isUpToDate "},
        {"isUpToDate", [](OverwrittenData& data) { data.isUpToDate(); }, "isUpToDate "},
        {"update", [](OverwrittenData& data) { data.update(); }, "update isUpToDate "},
        {"write with a change", [](OverwrittenData& data) { data.write(); },
         "write update isUpToDate update isUpToDate "},
        {"write without a change", [](OverwrittenData& data) { data.write(); },
         "write update isUpToDate "},
        {"discard", [](OverwrittenData& data) { data.discard("a"); }, "discard "},
        {"discardAll", [](OverwrittenData& data) { data.discardAll(); }, "discardAll "},
    };
    RecordedData data(m_path);
    for (const Row& row : rows) {
        row.call(data);
        EXPECT_EQ(data.takeCalls(), row.expected) << row.sentence;
    }
}

// Overrides the step that reads the file.
struct FixedData : OverwrittenData {
    using OverwrittenData::OverwrittenData;
    void update() override { m_fileData = {{"a", "fixed"}}; }
};

TEST_F(OverwriteSteps, CanBeOverriddenOneByOne)
{
    FixedData data(m_path);
    EXPECT_EQ(data["a"], "fixed");
    EXPECT_EQ(data.getMap(), (Map{{"a", "fixed"}}));
    data.setData("b", "2");
    data.write();
    EXPECT_EQ(text(), "a fixed\nb 2\n");
}

// Can be read once only.
struct OnceReadable : OpenData {
    using OpenData::OpenData;
    void update() override
    {
        if (std::exchange(m_isRead, true)) {
            throw std::runtime_error("unreadable");
        }
    }
    bool m_isRead = false;
};

TEST_F(OverwriteSteps, KeepPendingChangesWhenTheLastStepOfAWriteFails)
{
    OnceReadable data(m_path);
    data.setData("a", "1");
    EXPECT_THROW(data.write(), std::runtime_error);
    EXPECT_EQ(text(), "a 1\n");
    EXPECT_EQ(data.pendingData(), (Map{{"a", "1"}}));
}

TEST(OverwrittenData, HasItsOperationsInTheirFixedOrder)
{
    const int slots[] = {
        slotOf(&OverwrittenData::setData),    slotOf(&OverwrittenData::getData),
        slotOf(&OverwrittenData::operator[]), slotOf(&OverwrittenData::getMap),
        slotOf(&OverwrittenData::isUpToDate), slotOf(&OverwrittenData::write),
        slotOf(&OverwrittenData::update),     slotOf(&OverwrittenData::discardAll),
        slotOf(&OverwrittenData::discard),
    };
    for (int i = 0; i < static_cast<int>(std::size(slots)); ++i) {
        EXPECT_EQ(slots[i], i) << "programs already built call it by this number";
    }
}

// Programs destroy an object through the number of its destructor's slot.
TEST(OverwrittenData, HasItsDestructorLast)
{
    static bool isDestroyed;
    struct Witness : OverwrittenData {
        using OverwrittenData::OverwrittenData;
        ~Witness() override { isDestroyed = true; }
    };
    alignas(Witness) unsigned char storage[sizeof(Witness)];
    auto* object = new (storage) Witness("/nonexistent");
    using Destructor = void (*)(Witness*);
    Destructor* table = nullptr;
    std::memcpy(&table, static_cast<void*>(object), sizeof table);
    isDestroyed = false;
    table[slotOf(&OverwrittenData::discard) + 1](object);
    EXPECT_TRUE(isDestroyed);
}

} // namespace
