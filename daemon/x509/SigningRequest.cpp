#include "x509/SigningRequest.h"

#include "base/Refusal.h"
#include "x509/RequestProfile.h"
#include "x509/X509Text.h"

#include <openssl/err.h>
#include <openssl/pem.h>

namespace ostreld
{

SigningRequest::SigningRequest(const std::string& pem)
    : m_request(PEM_read_bio_X509_REQ(readerOf(pem).get(), nullptr, noPassword, nullptr))
{
    ERR_clear_error();
    if (!m_request) {
        throw Refusal(CsrNotGood, "not a signing request");
    }
}

ostrl::CCSRData SigningRequest::record() const
{
    ostrl::CCSRData record;
    EVP_PKEY* key = X509_REQ_get0_pubkey(m_request.get());
    const ExtensionsPointer extensions(X509_REQ_get_extensions(m_request.get()));
    record.subjectName = nameRecord(X509_REQ_get_subject_name(m_request.get()));
    record.v3Extensions = extensionRecords(extensions.get());
    record.publicKeySizeBits = key != nullptr ? EVP_PKEY_get_bits(key) : 0;
    record.csrVersion = static_cast<int>(X509_REQ_get_version(m_request.get())) + 1;
    record.publicKeyType = keyType(key);
    record.signatureAlgorithmType = OBJ_nid2ln(X509_REQ_get_signature_nid(m_request.get()));
    return record;
}

} // namespace ostreld
