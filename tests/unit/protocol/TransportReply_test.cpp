#include "unit/protocol/TransportCase.h"

namespace
{

using support::apiError;
using transport_case::payload;
using transport_case::Transport;

struct Row {
    const char* sentence;
    std::string reply;
    std::string expected;
};

std::string operator""_bytes(const char* text, std::size_t length)
{
    return {text, length};
}

std::string filled(std::size_t length)
{
    return "0 " + std::string(length - 2, 'x');
}

const Row replies[] = {
    {"a payload", "0 payload", payload("payload")},
    {"an empty payload", "0 ", payload("")},
    {"no blank", "0", payload("0")},
    {"blanks in the payload", "0  a b ", payload(" a b ")},
    {"line feeds in the payload", "0 a\n\nb\n", payload("a\n\nb\n")},
    {"a failure", "7 a", apiError(7)},
    {"a failure without a payload", "33", apiError(33)},
    {"an unknown code", "-5 a", apiError(-5)},
    {"no reply", "", apiError(1)},
    {"a leading blank", " 0 a", apiError(1)},
    {"no number", "abc 0", apiError(1)},
    {"a number too large", "2147483648 a", apiError(1)},
    {"one byte less than a chunk", filled(1022), payload(std::string(1020, 'x'))},
    {"a chunk", filled(1023), payload(std::string(1021, 'x'))},
    {"one byte more than a chunk", filled(1024), payload(std::string(1022, 'x'))},
    {"two chunks", filled(2046), payload(std::string(2044, 'x'))},
    {"one byte more than two chunks", filled(2047), payload(std::string(2045, 'x'))},
    {"more than a pipe holds", filled(300000), payload(std::string(299998, 'x'))},
};

TEST_F(Transport, ReadsAReplyInOnePiece)
{
    for (const Row& row : replies) {
        SCOPED_TRACE(row.sentence);
        peer.answer(row.reply);
        EXPECT_EQ(call(), row.expected);
        expectReleased();
    }
}

std::vector<std::string> cut(const std::string& text, std::size_t length)
{
    std::vector<std::string> pieces;
    for (std::size_t start = 0; start < text.size(); start += length) {
        pieces.push_back(text.substr(start, length));
    }
    return pieces;
}

TEST_F(Transport, ReadsAReplyByteByByte)
{
    for (const Row& row : replies) {
        if (row.reply.size() < 3000) {
            SCOPED_TRACE(row.sentence);
            peer.answerInPieces(cut(row.reply, 1));
            EXPECT_EQ(call(), row.expected);
        }
    }
}

TEST_F(Transport, ReadsAReplyInPiecesOfAboutAChunk)
{
    for (const std::size_t length : {2U, 511U, 512U, 1021U, 1022U, 1023U}) {
        for (const Row& row : replies) {
            SCOPED_TRACE(std::to_string(length) + ", " + row.sentence);
            peer.answerInPieces(cut(row.reply, length));
            EXPECT_EQ(call(), row.expected);
        }
    }
}

TEST_F(Transport, ReadsAChunkUpToItsFirstNul)
{
    const std::string rest = std::string(1023 - 5, '.');
    const Row rows[] = {
        {"in the payload", "0 ab\0cd"_bytes, payload("ab")},
        {"at the end", "0 ab\0"_bytes, payload("ab")},
        {"after the blank", "0 \0ab"_bytes, payload("")},
        {"instead of the blank", "0\0ab"_bytes, payload("0")},
        {"instead of the blank of a failure", "7\0 ab"_bytes, apiError(7)},
        {"at the start",
         "\0"
         "0 ab"_bytes,
         apiError(1)},
        {"alone", "\0"_bytes, apiError(1)},
        {"two NULs", "0 a\0b\0c"_bytes, payload("a")},
        {"the next chunk is read", "0 ab\0"_bytes + rest + "cd", payload("abcd")},
        {"at the last byte of a chunk", "0 ab" + rest + "\0cd"_bytes, payload("ab" + rest + "cd")},
        {"at the first byte of the next chunk", "0 ab." + rest + "\0cd"_bytes,
         payload("ab." + rest)},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.sentence);
        peer.answer(row.reply);
        EXPECT_EQ(call(), row.expected);
    }
}

TEST_F(Transport, ReadsEachSeparatePieceUpToItsFirstNul)
{
    peer.answerInPieces({"0 ab\0lost"_bytes, "\0lost"_bytes, "cd", "e\0lost"_bytes});
    EXPECT_EQ(call(), payload("abcde"));
    peer.answerInPieces({"\0lost"_bytes, "0 a"});
    EXPECT_EQ(call(), payload("a"));
}

TEST_F(Transport, UsesThePartOfAReplyThatArrivedBeforeItsWriterEnds)
{
    const std::string reply = "0 ab";
    for (std::size_t length = 0; length <= reply.size(); ++length) {
        peer.answer(reply.substr(0, length));
        EXPECT_EQ(call(), length == 0   ? apiError(1)
                          : length == 1 ? payload("0")
                                        : payload(reply.substr(2, length - 2)));
    }
}

struct TraceRow {
    const char* sentence;
    const char* reply;
    std::string trace;
};

TEST_F(Transport, TracesWhyAReplyIsNotASuccess)
{
    const TraceRow rows[] = {
        {"a failure", "7 a", "Action failed while sending command to server.\n"},
        {"no number", "x", "Standard logic error caught while sending command to server: stoi\n"},
        {"no reply", "", "Standard logic error caught while sending command to server: stoi\n"},
        {"a number too large", "2147483648",
         "Standard logic error caught while sending command to server: stoi\n"},
        {"a leading blank", " 0",
         "Standard exception caught while sending command to server: Error -1: Generic "
         "exception (1 - Action Failed)\n"},
    };
    for (const TraceRow& row : rows) {
        SCOPED_TRACE(row.sentence);
        peer.answer(row.reply);
        const support::CapturedTrace trace;
        call();
        EXPECT_EQ(trace.text(), messageLine() + row.trace);
    }
}

} // namespace
