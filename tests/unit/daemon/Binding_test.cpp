#include "exchange/Binding.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace
{

using ostreld::Binding;

/// What happens in a directory, as a letter each: "c" a reply FIFO is created, "g" it is gone,
/// "w" a write, "e" the command FIFO is closed, "l" notices are lost. "1", "2" and "3" are the
/// bytes of a message, "x" a byte of no message.
void play(Binding& binding, const std::string& events)
{
    const std::string texts[] = {"root\t81\tca\trevoke\ta", "root\t82\tclient\tadd\tb",
                                 "root\t83\tserver\tcreatecsr"};
    const auto append = [&](const std::string& text) { binding.append(text.data(), text.size()); };
    for (const char event : events) {
        switch (event) {
        case 'c':
            binding.replyCreated();
            break;
        case 'g':
            binding.replyGone();
            break;
        case 'w':
            binding.written();
            break;
        case 'e':
            binding.closed();
            break;
        case 'l':
            binding.eventsLost(true);
            break;
        case 'x':
            append("?");
            break;
        default:
            append(texts[event - '1']);
        }
    }
}

TEST(BindingTest, FindsTheMessageOfTheCallerThatWaits)
{
    const struct {
        const char* sentence;
        const char* events;
        const char* message;
    } rows[] = {
        {"one caller", "c1we", "root\t81\tca\trevoke\ta"},
        {"a caller that wrote nothing", "ce", ""},
        {"a message with the head of another in it", "c12we",
         "root\t81\tca\trevoke\taroot\t82\tclient\tadd\tb"},
        {"bytes that are no message", "cxwe", "?"},
        {"a message in two writes", "cxw1we", "?root\t81\tca\trevoke\ta"},
        {"one gave up, and another closes without a message", "c1wegce", ""},
        {"one gave up, and another follows", "c1wegc2we", "\t82\tclient\tadd\tb"},
        {"two gave up", "c1wegc2wegc3we", "\t83\tserver\tcreatecsr"},
        {"the bytes of both come before the notices", "12cwegcwe", "\t82\tclient\tadd\tb"},
    };
    for (const auto& row : rows) {
        Binding binding;
        play(binding, row.events);
        ASSERT_TRUE(binding.isComplete()) << row.sentence;
        const Binding::Message message = binding.take();
        EXPECT_EQ(message.clarity, Binding::Clarity::Clear) << row.sentence;
        EXPECT_EQ(message.text, row.message) << row.sentence;
    }
}

TEST(BindingTest, WaitsForTheRest)
{
    const struct {
        const char* sentence;
        const char* events;
    } rows[] = {
        {"nothing happened", ""},
        {"no reply FIFO", "1we"},
        {"the command FIFO is open", "c1w"},
        {"the notice of the write has yet to come", "c1e"},
        {"the former caller closed the command FIFO, and this one did not", "c1wegc2w"},
        {"the caller gave up", "c1weg"},
        {"notices are lost, and there is no message", "cl"},
    };
    for (const auto& row : rows) {
        Binding binding;
        play(binding, row.events);
        EXPECT_FALSE(binding.isComplete()) << row.sentence;
    }
}

TEST(BindingTest, RefusesMessagesThatCannotBeSeparated)
{
    const struct {
        const char* sentence;
        const char* events;
    } rows[] = {
        {"more writes than heads", "c1wegcxw2we"},
        {"fewer writes than heads", "c12wegc3we"},
        {"two messages while one caller sends", "c2w1we"},
        {"notices are lost", "cl1we"},
        {"somebody else writes, too", "c1w2we"},
    };
    for (const auto& row : rows) {
        Binding binding;
        play(binding, row.events);
        ASSERT_TRUE(binding.isComplete()) << row.sentence;
        EXPECT_EQ(binding.take().clarity, Binding::Clarity::Unclear) << row.sentence;
    }
}

TEST(BindingTest, GivesEachReplyFifoOneMessage)
{
    Binding binding;
    play(binding, "c1we");
    binding.take();
    play(binding, "2we");
    EXPECT_FALSE(binding.isComplete()) << "its message has been taken";
    EXPECT_TRUE(binding.isAbandoned());
    binding.discard();
    play(binding, "gc3we");
    EXPECT_EQ(binding.take().text, "root\t83\tserver\tcreatecsr");
}

TEST(BindingTest, DropsOnlyWhatBelongsToNobody)
{
    const struct {
        const char* events;
        bool isAbandoned;
    } rows[] = {{"", false},     {"c1we", false}, {"c1w", false}, {"c", false},
                {"c1weg", true}, {"1", true},     {"w", true},    {"c1wegc", false}};
    for (const auto& row : rows) {
        Binding binding;
        play(binding, row.events);
        EXPECT_EQ(binding.isAbandoned(), row.isAbandoned) << row.events;
    }
}

TEST(BindingTest, TakesNoLongerMessageThanItsLimit)
{
    for (const std::size_t size : {Binding::largestMessage, Binding::largestMessage + 1}) {
        Binding binding;
        play(binding, "c");
        const std::string bytes(size, 'a');
        for (std::size_t at = 0; at < size; at += 1000) {
            binding.append(&bytes[at], std::min<std::size_t>(1000, size - at));
        }
        play(binding, "we");
        const Binding::Message message = binding.take();
        const bool fits = size == Binding::largestMessage;
        EXPECT_EQ(message.clarity, fits ? Binding::Clarity::Clear : Binding::Clarity::TooLong);
        EXPECT_EQ(message.text.size(), fits ? size : 0);
    }
}

} // namespace
