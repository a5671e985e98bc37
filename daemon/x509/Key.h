#pragma once

#include "base/SecretText.h"
#include "x509/OpenSsl.h"

#include <string>
#include <string_view>

namespace ostreld
{

/// The kind of a key.
struct KeyKind {
    /// The name of the elliptic curve; empty for RSA.
    std::string curve;
    unsigned int rsaBits = 2048;
};

/// A private key. Move-only; its destructor wipes it from memory.
class Key
{
public:
    /// Makes a new key; throws Refusal, "Error during key generation".
    static Key generate(const KeyKind& kind);

    /// Reads a key from PEM text. If the text contains none, the object has no key.
    static Key fromPem(std::string_view pem);

    /// The key as PEM text.
    SecretText pem() const;

    /// Whether `publicKey` belongs to this key.
    bool matches(const EVP_PKEY* publicKey) const;

    EVP_PKEY* get() const { return m_key.get(); }

private:
    explicit Key(KeyPointer key) : m_key(std::move(key)) {}

    KeyPointer m_key;
};

} // namespace ostreld
