#pragma once

#include <cstddef>
#include <cstring>
#include <memory>
#include <string_view>
#include <utility>

namespace ostreld
{

/// A text that contains key material, such as a private key in PEM. The buffer is never
/// copied or enlarged, and is wiped by the destructor. Move-only.
class SecretText
{
public:
    SecretText() = default;
    /// `size` NUL bytes, to be filled through data().
    explicit SecretText(std::size_t size) : m_bytes(new char[size]()), m_size(size), m_length(size)
    {
    }
    explicit SecretText(std::string_view text) : SecretText(text.size())
    {
        text.copy(m_bytes.get(), text.size());
    }
    SecretText(SecretText&& other) noexcept
        : m_bytes(std::move(other.m_bytes)), m_size(std::exchange(other.m_size, 0)),
          m_length(std::exchange(other.m_length, 0))
    {
    }
    SecretText& operator=(SecretText&& other) noexcept
    {
        std::swap(m_bytes, other.m_bytes);
        std::swap(m_size, other.m_size);
        std::swap(m_length, other.m_length);
        return *this;
    }
    ~SecretText()
    {
        if (m_bytes) {
            ::explicit_bzero(m_bytes.get(), m_size);
        }
    }

    [[nodiscard]] char* data() { return m_bytes.get(); }
    [[nodiscard]] std::string_view view() const { return {m_bytes.get(), m_length}; }
    [[nodiscard]] std::size_t size() const { return m_length; }
    [[nodiscard]] bool empty() const { return m_length == 0; }

    /// Keeps the first `length` bytes; `length` is at most size().
    void resize(std::size_t length) { m_length = length; }

private:
    std::unique_ptr<char[]> m_bytes;
    // The size of the buffer, and the length of the text in it.
    std::size_t m_size = 0;
    std::size_t m_length = 0;
};

} // namespace ostreld
