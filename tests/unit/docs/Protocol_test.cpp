// Compares docs/PROTOCOL.md with the library: the bytes of its examples with
// what passes through real FIFOs, and its tables with what the library accepts.

#include "support/Document.h"
#include "unit/protocol/TransportCase.h"

#include <ostrel/Commands.h>
#include <ostrelApi/OstrelApiException.h>

#include "protocol/Reply.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <sstream>

namespace
{

using ostrel::Commands;
using ostrelApi::OstrelApiException;
using support::apiError;
using support::Document;
using transport_case::payload;
using transport_case::Transport;

const Document& protocol()
{
    static const Document document = support::readDocument("PROTOCOL.md");
    return document;
}

/// Sends the example's command. The expected message is the example with this
/// process's id in place of 812.
class ExampleCall : public Transport
{
protected:
    std::string send(const std::string& reply)
    {
        peer.answer(reply);
        Commands command;
        command.target = ostrel::TargetCA;
        command.command = ostrel::CommandAdd;
        command.arguments = {"/run/ostrel/web/x.crt"};
        return transport_case::outcomeOf(command, pipes);
    }

    static std::string messageOfThisProcess()
    {
        std::string message = protocol().bytes("command");
        return message.replace(message.find("812"), 3, std::to_string(::getpid()));
    }
};

TEST_F(ExampleCall, WritesTheDocumentedMessageToTheCommandFifo)
{
    send("0 ");
    EXPECT_EQ(peer.lastMessage(), messageOfThisProcess()) << support::dumpOf(peer.lastMessage());
}

TEST_F(ExampleCall, AcceptsTheDocumentedReplies)
{
    EXPECT_EQ(send(protocol().bytes("reply")), payload("5a1f09c2d7e4b683"));
    EXPECT_EQ(send(protocol().bytes("refusal")), apiError(33));
}

TEST(ProtocolExample, IsParsedAsTheDocumentShows)
{
    const std::string message = protocol().bytes("command");
    const Commands command(message);
    EXPECT_EQ(command.user, "root");
    EXPECT_EQ(command.pid, "812");
    EXPECT_EQ(command.target, ostrel::TargetCA);
    EXPECT_EQ(command.command, ostrel::CommandAdd);
    EXPECT_EQ(command.arguments, std::vector<std::string>{"/run/ostrel/web/x.crt"});
    EXPECT_EQ(command.toMessage(), message);
}

// The last four columns of the table show which numbers of arguments a target
// takes.
constexpr std::size_t mostArguments = 5;

struct TargetColumn {
    const char* word;
    std::size_t column;
};

constexpr TargetColumn targetColumns[] = {{"server", 2}, {"ca", 3}, {"client", 3}, {"config", 4}};

/// Whether a cell such as "0, 2.." includes `count`.
bool hasCount(const std::string& cell, std::size_t count)
{
    std::istringstream words(cell);
    for (std::string word; words >> word;) {
        if (word == "-") {
            continue;
        }
        const bool isOpen = word.find("..") != std::string::npos;
        const std::size_t first = std::stoul(word);
        if (count == first || (isOpen && count > first)) {
            return true;
        }
    }
    return false;
}

/// The value of the command in the message, or -1 when it is refused.
int commandOf(const std::string& target, const std::string& keyword, std::size_t count)
{
    std::string message = "root\t812\t" + target + '\t' + keyword;
    for (std::size_t i = 0; i < count; ++i) {
        message += "\ta";
    }
    try {
        return Commands(message).command;
    } catch (const std::runtime_error&) {
        return -1;
    }
}

TEST(ProtocolKeywords, AcceptTheTargetsAndNumbersOfArgumentsInTheirRow)
{
    for (const Document::Row& row : protocol().table("keywords")) {
        for (const TargetColumn& target : targetColumns) {
            for (std::size_t count = 0; count <= mostArguments; ++count) {
                SCOPED_TRACE(row[0] + " for " + target.word + ' ' + std::to_string(count));
                EXPECT_EQ(commandOf(target.word, row[0], count),
                          hasCount(row[target.column], count) ? std::stoi(row[1]) : -1);
            }
        }
    }
}

TEST(ProtocolKeywords, AreListedCompletely)
{
    std::map<int, std::string> listed;
    for (const Document::Row& row : protocol().table("keywords")) {
        listed[std::stoi(row[1])] = row[0];
    }
    for (int number = -1; number < 40; ++number) {
        Commands command;
        command.command = static_cast<decltype(command.command)>(number);
        EXPECT_EQ(command.toMessage(), "\t\t\t" + listed[number]) << number;
    }
}

/// The result of reading a reply, in the words of the document's table.
std::string resultOf(const std::string& reply)
{
    try {
        const std::string text = ostrelApi::payloadOf(reply);
        return "payload " + (text.empty() ? "(empty)" : text);
    } catch (const OstrelApiException& caught) {
        const std::string text = caught.getErrorMessage();
        return "error " + std::to_string(std::stoi(text.substr(text.find('(') + 1)));
    }
}

TEST(ProtocolReplies, FollowTheTable)
{
    for (const Document::Row& row : protocol().table("replies")) {
        EXPECT_EQ(resultOf(row[0] == "(empty)" ? "" : row[0]), row[1]) << row[0];
    }
}

TEST(ProtocolReturnCodes, MatchTheTable)
{
    std::map<int, Document::Row> rows;
    for (const Document::Row& row : protocol().table("return codes")) {
        rows[std::stoi(row[0])] = row;
    }
    for (int code = -10; code < 100; ++code) {
        const bool isListed = rows.count(code) != 0;
        EXPECT_EQ(ostrelApi::globalOstrelMessage(code), isListed ? rows[code][1] : "Unknown");
        EXPECT_EQ(OstrelApiException(code).getErrorId(), isListed ? std::stoi(rows[code][2]) : -1)
            << code;
    }
}

TEST(ProtocolErrorIds, MatchTheTable)
{
    std::map<int, std::string> texts;
    for (const Document::Row& row : protocol().table("error ids")) {
        texts[std::stoi(row[0])] = row[1];
    }
    for (int id = -10; id < 20; ++id) {
        EXPECT_EQ(ostrelApi::errorIdToString(id), texts.count(id) != 0 ? texts[id] : "Unknown");
    }
}

} // namespace
