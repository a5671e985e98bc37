#pragma once

#include "x509/OpenSsl.h"

#include <string>

namespace ostreld
{

/// What kind of key to make.
struct KeyKind {
    /// Empty for RSA, else the name of the elliptic curve.
    std::string curve;
    unsigned int rsaBits = 2048;
};

/// A private key. Move-only; wiped from memory with the object.
class Key
{
public:
    /// Makes a new one; throws Refusal, "Error during key generation".
    static Key generate(const KeyKind& kind);

    /// Reads one from PEM text; an object without a key when there is none.
    static Key fromPem(const std::string& pem);

    /// The key as PEM text, which the caller wipes.
    std::string pem() const;

    /// Whether `publicKey` is its other half.
    bool matches(const EVP_PKEY* publicKey) const;

    EVP_PKEY* get() const { return m_key.get(); }

private:
    explicit Key(EVP_PKEY* key) : m_key(key) {}

    KeyPointer m_key;
};

} // namespace ostreld
