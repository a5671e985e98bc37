#include "support/PseudoTerminal.h"

#include "support/StartProgram.h"
#include "tools/Descriptor.h"

#include <cerrno>
#include <stdexcept>

#include <pty.h>

namespace support
{

using ostrel::Descriptor;

namespace
{

/// The person at the terminal.
class Person
{
public:
    Person(int terminal, const std::vector<Keys>& dialogue)
        : m_terminal(terminal), m_next(dialogue.begin()), m_end(dialogue.end())
    {
    }

    void see(const std::string& text)
    {
        m_text += text;
        while (m_next != m_end && m_text.find(m_next->after, m_seen) != std::string::npos) {
            m_seen = m_text.size();
            const std::string& keys = (m_next++)->keys;
            if (::write(m_terminal, keys.data(), keys.size()) == -1) {
                throw std::runtime_error("nothing can be typed");
            }
        }
    }

    const std::string& text() const { return m_text; }

private:
    int m_terminal;
    std::vector<Keys>::const_iterator m_next;
    const std::vector<Keys>::const_iterator m_end;
    std::string m_text;
    std::size_t m_seen = 0;
};

// Reads until no process has the terminal open.
void readAll(int terminal, Person& person)
{
    char bytes[4096];
    for (ssize_t count = 0;;) {
        count = ::read(terminal, bytes, sizeof bytes);
        if (count > 0) {
            person.see({bytes, static_cast<std::size_t>(count)});
        } else if (count == 0 || errno != EINTR) {
            return;
        }
    }
}

} // namespace

ShownProgram runOnTerminal(const std::vector<std::string>& words, unsigned short width,
                           const std::vector<Keys>& dialogue)
{
    winsize size{};
    size.ws_col = width;
    size.ws_row = 24;
    int terminal = -1;
    const Execution program(words);
    const pid_t child = ::forkpty(&terminal, nullptr, nullptr, &size);
    if (child == 0) {
        program.perform();
    }
    if (child == -1) {
        throw std::runtime_error("no terminal for " + words[0]);
    }
    const Descriptor master(terminal);
    Person person(terminal, dialogue);
    readAll(terminal, person);
    return {awaitEnd(child), person.text()};
}

} // namespace support
