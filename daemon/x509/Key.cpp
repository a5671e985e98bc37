#include "x509/Key.h"

#include "base/Refusal.h"

#include <openssl/err.h>
#include <openssl/pem.h>

namespace ostreld
{

Key Key::generate(const KeyKind& kind)
{
    Key key(kind.curve.empty()
                ? EVP_PKEY_Q_keygen(nullptr, nullptr, "RSA", std::size_t{kind.rsaBits})
                : EVP_PKEY_Q_keygen(nullptr, nullptr, "EC", kind.curve.c_str()));
    ERR_clear_error();
    if (!key.m_key) {
        throw Refusal(ErrorDuringKeyGeneration, "no key could be made");
    }
    return key;
}

Key Key::fromPem(const std::string& pem)
{
    Key key(PEM_read_bio_PrivateKey(readerOf(pem).get(), nullptr, noPassword, nullptr));
    ERR_clear_error();
    return key;
}

std::string Key::pem() const
{
    // In memory that OpenSSL wipes when it is freed.
    const BioPointer out(BIO_new(BIO_s_secmem()));
    PEM_write_bio_PrivateKey(out.get(), m_key.get(), nullptr, nullptr, 0, nullptr, nullptr);
    char* bytes = nullptr;
    const long length = BIO_get_mem_data(out.get(), &bytes);
    return std::string(bytes, static_cast<std::size_t>(length));
}

bool Key::matches(const EVP_PKEY* publicKey) const
{
    return m_key && publicKey != nullptr && EVP_PKEY_eq(m_key.get(), publicKey) == 1;
}

} // namespace ostreld
