#pragma once

// OpenSSL's objects, owned.

#include <openssl/bio.h>
#include <openssl/conf.h>
#include <openssl/crypto.h>
#include <openssl/evp.h>
#include <openssl/x509.h>

#include <memory>
#include <string>

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

/// A BIO that reads `text`, which must outlive it.
inline BioPointer readerOf(const std::string& text)
{
    return BioPointer(BIO_new_mem_buf(text.data(), static_cast<int>(text.size())));
}

/// For whatever reads PEM: no password is asked for at a terminal or of the
/// standard input, for a daemon has none, and would wait there for ever.
inline int noPassword(char* /*buffer*/, int /*size*/, int /*isWriting*/, void* /*context*/)
{
    return -1;
}

/// Wipes a text that held key material when the scope ends.
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
