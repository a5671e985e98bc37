#include "x509/Key.h"

#include <openssl/pem.h>

#include <stdexcept>

namespace ostreld
{

Key Key::generate(const KeyKind& kind)
{
    Key key(withMemory([&] {
        return KeyPointer(
            kind.curve.empty()
                ? EVP_PKEY_Q_keygen(nullptr, nullptr, "RSA", std::size_t{kind.rsaBits})
                : EVP_PKEY_Q_keygen(nullptr, nullptr, "EC", kind.curve.c_str()));
    }));
    require(key.m_key != nullptr, ErrorDuringKeyGeneration, "no key could be made");
    return key;
}

Key Key::fromPem(std::string_view pem)
{
    const BioPointer reader = readerOf(pem);
    return Key(withMemory([&] {
        return KeyPointer(PEM_read_bio_PrivateKey(reader.get(), nullptr, noPassword, nullptr));
    }));
}

SecretText Key::pem() const
{
    // OpenSSL wipes this memory when it frees it.
    const BioPointer out(BIO_new(BIO_s_secmem()));
    const bool isWritten = withMemory([&] {
        return out != nullptr && PEM_write_bio_PrivateKey(out.get(), m_key.get(), nullptr, nullptr,
                                                          0, nullptr, nullptr) == 1;
    });
    if (!isWritten) {
        throw std::runtime_error("cannot write a private key as text");
    }
    char* bytes = nullptr;
    const long length = BIO_get_mem_data(out.get(), &bytes);
    return SecretText(std::string_view(bytes, static_cast<std::size_t>(length)));
}

bool Key::matches(const EVP_PKEY* publicKey) const
{
    return m_key && publicKey != nullptr &&
           withMemory([&] { return EVP_PKEY_eq(m_key.get(), publicKey) == 1; });
}

} // namespace ostreld
