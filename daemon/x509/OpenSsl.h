#pragma once

// RAII types for OpenSSL's objects, and checks of its results.

#include "base/Refusal.h"

#include <openssl/bio.h>
#include <openssl/conf.h>
#include <openssl/crypto.h>
#include <openssl/err.h>
#include <openssl/evp.h>
#include <openssl/x509v3.h>

#include <memory>
#include <string>
#include <string_view>

namespace ostreld
{

template <class Object, void (*release)(Object*)>
struct OpenSslRelease {
    void operator()(Object* object) const { release(object); }
};

template <class Object, void (*release)(Object*)>
using OpenSslPointer = std::unique_ptr<Object, OpenSslRelease<Object, release>>;

using BioPointer = OpenSslPointer<BIO, BIO_free_all>;
using ConfPointer = OpenSslPointer<CONF, NCONF_free>;
using KeyPointer = OpenSslPointer<EVP_PKEY, EVP_PKEY_free>;
using RequestPointer = OpenSslPointer<X509_REQ, X509_REQ_free>;
using X509Pointer = OpenSslPointer<X509, X509_free>;

/// Bytes that OpenSSL has allocated.
inline void freeBytes(unsigned char* bytes)
{
    OPENSSL_free(bytes);
}
using BytesPointer = OpenSslPointer<unsigned char, freeBytes>;

inline void freeExtensions(STACK_OF(X509_EXTENSION) * extensions)
{
    sk_X509_EXTENSION_pop_free(extensions, X509_EXTENSION_free);
}
using ExtensionsPointer = OpenSslPointer<STACK_OF(X509_EXTENSION), freeExtensions>;

/// Throws std::bad_alloc if OpenSSL had no memory since the last call. Clears OpenSSL's
/// errors.
void requireMemory();

/// Returns the result of `calls` of OpenSSL. Throws std::bad_alloc if one of them had no
/// memory: OpenSSL often continues with a part of the result.
template <class Calls>
[[nodiscard]] auto withMemory(Calls calls)
{
    auto result = calls();
    requireMemory();
    return result;
}

/// Throws Refusal unless `isFine`.
inline void require(bool isFine, ReturnCode otherwise, const char* reason)
{
    if (!isFine) {
        throw Refusal(otherwise, reason);
    }
}

/// A BIO that reads `text`, which must outlive it.
BioPointer readerOf(std::string_view text);

/// Returns what `print` writes into a BIO. Throws Refusal, "Bad certificate format", if
/// `print` returns false.
template <class Print>
std::string printed(Print print)
{
    const BioPointer out(BIO_new(BIO_s_mem()));
    require(withMemory([&] { return out != nullptr && print(out.get()); }), BadCertificateFormat,
            "what OpenSSL cannot print");
    char* bytes = nullptr;
    const long length = BIO_get_mem_data(out.get(), &bytes);
    return std::string(bytes, static_cast<std::size_t>(length));
}

/// For every reader of PEM: prevents OpenSSL from requesting a password from a terminal or
/// from the standard input, where the daemon would wait for ever.
inline int noPassword(char* /*buffer*/, int /*size*/, int /*isWriting*/, void* /*context*/)
{
    return -1;
}

/// Wipes a text with key material at the end of the scope.
class Wipe
{
public:
    explicit Wipe(std::string& text) : m_text(text) {}
    ~Wipe() { OPENSSL_cleanse(m_text.data(), m_text.size()); }
    Wipe(const Wipe&) = delete;
    Wipe& operator=(const Wipe&) = delete;

private:
    std::string& m_text;
};

} // namespace ostreld
