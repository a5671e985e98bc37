// A certificate authority for the demo only. Each run makes a new CA key and signs one
// request for 90 days, without the daemon.
//
//     demo_ca < request.pem > certificate.pem

#include <openssl/pem.h>
#include <openssl/x509.h>

#include <iostream>
#include <memory>

namespace
{

constexpr long validity = 90L * 86400;

template <class Object>
using Owned = std::unique_ptr<Object, void (*)(Object*)>;

Owned<X509> sign(X509_REQ* request, EVP_PKEY* caKey)
{
    Owned<X509> certificate(X509_new(), X509_free);
    X509_set_version(certificate.get(), X509_VERSION_3);
    ASN1_INTEGER_set(X509_get_serialNumber(certificate.get()), 1);
    X509_set_subject_name(certificate.get(), X509_REQ_get_subject_name(request));
    X509_NAME_add_entry_by_txt(X509_get_issuer_name(certificate.get()), "CN", MBSTRING_UTF8,
                               reinterpret_cast<const unsigned char*>("Demo CA"), -1, -1, 0);
    X509_gmtime_adj(X509_getm_notBefore(certificate.get()), 0);
    X509_gmtime_adj(X509_getm_notAfter(certificate.get()), validity);
    X509_set_pubkey(certificate.get(), X509_REQ_get0_pubkey(request));
    STACK_OF(X509_EXTENSION)* extensions = X509_REQ_get_extensions(request);
    for (int i = 0; i < sk_X509_EXTENSION_num(extensions); ++i) {
        X509_add_ext(certificate.get(), sk_X509_EXTENSION_value(extensions, i), -1);
    }
    sk_X509_EXTENSION_pop_free(extensions, X509_EXTENSION_free);
    X509_sign(certificate.get(), caKey, EVP_sha256());
    return certificate;
}

} // namespace

int main()
{
    const Owned<X509_REQ> request(PEM_read_X509_REQ(stdin, nullptr, nullptr, nullptr),
                                  X509_REQ_free);
    if (!request) {
        std::cerr << "demo_ca: no signing request at the standard input\n";
        return 1;
    }
    const Owned<EVP_PKEY> caKey(EVP_EC_gen("P-256"), EVP_PKEY_free);
    PEM_write_X509(stdout, sign(request.get(), caKey.get()).get());
}
