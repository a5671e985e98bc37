#include "commands/PemInput.h"

#include "engine/Deadline.h"
#include "failure/Failure.h"

#include <fmt/format.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <string_view>

#include <fcntl.h>
#include <unistd.h>

namespace ostrelctl
{

namespace
{

constexpr std::size_t largestInput = 64 << 20;
constexpr std::string_view beginLine = "-----BEGIN CERTIFICATE-----";
constexpr std::string_view endLine = "-----END CERTIFICATE-----";

std::string nameOf(const std::string& path)
{
    return path == "-" ? "standard input" : path;
}

/// An open input; the standard one stays open.
class Input
{
public:
    explicit Input(const std::string& path)
        : m_name(nameOf(path)),
          m_file(path == "-" ? STDIN_FILENO : ::open(path.c_str(), O_RDONLY | O_CLOEXEC))
    {
        require(m_file != -1);
    }
    ~Input()
    {
        if (m_file != STDIN_FILENO) {
            ::close(m_file);
        }
    }
    Input(const Input&) = delete;
    Input& operator=(const Input&) = delete;

    std::string rest() const
    {
        std::string text;
        char bytes[1 << 16];
        for (ssize_t count = 1; count != 0;) {
            count = ::read(m_file, bytes, sizeof bytes);
            require(count != -1 || errno == EINTR);
            text.append(bytes, count > 0 ? static_cast<std::size_t>(count) : 0);
            if (text.size() > largestInput) {
                throw Failure(ExitStatus::Failed, m_name + " is too long for certificates");
            }
        }
        return text;
    }

private:
    void require(bool isFine) const
    {
        Deadline::check();
        if (!isFine) {
            const int error = errno;
            throw Failure(error == EACCES ? ExitStatus::Denied : ExitStatus::Failed,
                          "cannot read " + m_name + ": " + std::strerror(error),
                          "nothing was sent to the daemon");
        }
    }

    std::string m_name;
    int m_file;
};

bool isDer(const std::string& text)
{
    // A sequence whose length takes more than one byte.
    return text.size() > 2 && text[0] == '\x30' && (static_cast<unsigned char>(text[1]) & 0x80U);
}

std::string quoted(const std::string& word)
{
    const char* const harmless =
        "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789._/-";
    if (word.find_first_not_of(harmless) == std::string::npos) {
        return word;
    }
    std::string quote = "'";
    for (const char c : word) {
        quote += c == '\'' ? "'\\''" : std::string(1, c);
    }
    return quote + '\'';
}

[[noreturn]] void failAsDer(const std::string& path)
{
    const std::string files =
        path == "-" ? "" : fmt::format(" -in {} -out {}", quoted(path), quoted(path + ".pem"));
    throw Failure(ExitStatus::Failed, nameOf(path) + " is DER and not PEM",
                  "convert it: openssl x509 -inform DER" + files);
}

[[noreturn]] void failAsHalf(const std::string& path, std::size_t number)
{
    throw Failure(ExitStatus::Failed,
                  fmt::format("certificate {} of {} has no END line", number, nameOf(path)),
                  "nothing was sent to the daemon");
}

std::string_view withoutTrailingBlanks(std::string_view line)
{
    const std::size_t last = line.find_last_not_of(" \t\r");
    return line.substr(0, last == std::string_view::npos ? 0 : last + 1);
}

/// The blocks of a text, without the text between them.
std::vector<std::string> blocksOf(std::string_view text, const std::string& path)
{
    std::vector<std::string> blocks;
    bool isInside = false;
    while (!text.empty()) {
        const std::size_t end = std::min(text.find('\n'), text.size());
        const std::string_view line = withoutTrailingBlanks(text.substr(0, end));
        text.remove_prefix(std::min(end + 1, text.size()));
        if (line == beginLine) {
            if (isInside) {
                failAsHalf(path, blocks.size());
            }
            blocks.emplace_back();
            isInside = true;
        }
        if (isInside) {
            blocks.back().append(line).append("\n");
            isInside = line != endLine;
        }
    }
    if (isInside) {
        failAsHalf(path, blocks.size());
    }
    return blocks;
}

} // namespace

std::vector<GivenCertificate> certificatesOf(const std::string& path)
{
    const std::string text = Input(path).rest();
    if (isDer(text)) {
        failAsDer(path);
    }
    const std::vector<std::string> blocks = blocksOf(text, path);
    if (blocks.empty()) {
        throw Failure(ExitStatus::Failed, nameOf(path) + " holds no PEM certificate",
                      "nothing was sent to the daemon");
    }
    std::vector<GivenCertificate> certificates;
    for (std::size_t i = 0; i < blocks.size(); ++i) {
        const bool isAlone = blocks.size() == 1;
        certificates.push_back(
            {isAlone ? nameOf(path)
                     : fmt::format("{}, {} of {}", nameOf(path), i + 1, blocks.size()),
             blocks[i]});
    }
    return certificates;
}

std::vector<GivenCertificate> certificatesOf(const std::vector<std::string>& paths)
{
    std::vector<GivenCertificate> all;
    for (const std::string& path : paths) {
        const auto some = certificatesOf(path);
        all.insert(all.end(), some.begin(), some.end());
    }
    return all;
}

} // namespace ostrelctl
