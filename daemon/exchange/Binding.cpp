#include "exchange/Binding.h"

#include <algorithm>
#include <cctype>
#include <string_view>
#include <utility>

namespace ostreld
{

namespace
{

constexpr std::string_view targets[] = {"server", "ca", "client", "config"};

bool isDigit(char c)
{
    return c >= '0' && c <= '9';
}

// Whether `text` continues a message after its user: TAB, digits, TAB, target, TAB, letter.
bool isHead(std::string_view text)
{
    const auto afterDigits = std::find_if_not(text.begin() + 1, text.end(), isDigit);
    const auto digits = static_cast<std::size_t>(afterDigits - text.begin()) - 1;
    text.remove_prefix(digits + 1);
    if (digits == 0 || text.empty() || text[0] != '\t') {
        return false;
    }
    text.remove_prefix(1);
    return std::any_of(std::begin(targets), std::end(targets), [text](std::string_view target) {
        return text.size() > target.size() + 1 && text.substr(0, target.size()) == target &&
               text[target.size()] == '\t' &&
               std::isalpha(static_cast<unsigned char>(text[target.size() + 1])) != 0;
    });
}

} // namespace

void Binding::replyCreated()
{
    m_caller = Caller::Sending;
    // Whoever wrote and closed the command FIFO before was another caller. Bytes without a
    // notice are this caller's, which were read before the notice of its reply FIFO.
    m_isMixed = m_isMixed || m_isClosed || m_writes > 0;
    m_isClosed = false;
    m_ownWrites = 0;
}

void Binding::eventsLost(bool isReplyThere)
{
    m_areEventsLost = true;
    m_isClosed = true;
    m_caller = isReplyThere ? Caller::Sending : Caller::None;
}

// A text beyond the limit is read and dropped.
void Binding::append(const char* bytes, std::size_t count)
{
    m_isTooLong = m_isTooLong || m_text.size() + count > largestMessage;
    if (m_isTooLong) {
        m_text.clear();
    } else {
        m_text.append(bytes, count);
    }
}

// Bytes can arrive before the notice of their write.
bool Binding::isComplete() const
{
    const bool isWhole = m_areEventsLost ? hasBytes() : !hasBytes() || m_writes > 0;
    return m_caller == Caller::Sending && m_isClosed && isWhole;
}

bool Binding::isAbandoned() const
{
    return m_caller != Caller::Sending && isUsed();
}

Binding::Message Binding::take()
{
    Message message;
    if (m_areEventsLost) {
        message.clarity = Clarity::Unclear;
    } else if (m_isTooLong) {
        message.clarity = Clarity::TooLong;
    } else if (m_ownWrites > 0) {
        message = separated();
    }
    // Without a write of its own, the caller closed the command FIFO without a message.
    m_caller = Caller::Sent;
    discard();
    return message;
}

// The last message has no user: its name cannot be separated from the message before.
Binding::Message Binding::separated() const
{
    std::size_t last = 0;
    std::size_t heads = 0;
    for (std::size_t tab = m_text.find('\t'); tab != std::string::npos;
         tab = m_text.find('\t', tab + 1)) {
        if (isHead(std::string_view(m_text).substr(tab))) {
            last = tab;
            ++heads;
        }
    }
    if (m_writes == 1 || (!m_isMixed && heads < 2)) {
        return {m_text, Clarity::Clear};
    }
    // Of two messages that came while one caller was sending, either may be somebody else's.
    const bool isLastItsOwn = m_isMixed && m_ownWrites == 1 && heads == m_writes;
    return isLastItsOwn ? Message{m_text.substr(last), Clarity::Clear}
                        : Message{"", Clarity::Unclear};
}

void Binding::discard()
{
    m_isClosed = false;
    m_areEventsLost = false;
    m_isTooLong = false;
    m_isMixed = false;
    m_writes = 0;
    m_ownWrites = 0;
    m_text.clear();
}

} // namespace ostreld
