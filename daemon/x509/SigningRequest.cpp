#include "x509/SigningRequest.h"

#include "x509/X509Text.h"

#include <openssl/pem.h>

namespace ostreld
{

namespace
{

RequestPointer parse(const std::string& pem)
{
    const BioPointer reader = readerOf(pem);
    RequestPointer request = withMemory([&] {
        return RequestPointer(PEM_read_bio_X509_REQ(reader.get(), nullptr, noPassword, nullptr));
    });
    require(request != nullptr, CsrNotGood, "not a signing request");
    return request;
}

} // namespace

SigningRequest::SigningRequest(const std::string& pem)
    : m_request(parse(pem)), m_key(keyIn(X509_REQ_get_X509_PUBKEY(m_request.get())))
{
}

ostrl::CCSRData SigningRequest::record() const
{
    ostrl::CCSRData record;
    const ExtensionsPointer extensions =
        withMemory([&] { return ExtensionsPointer(X509_REQ_get_extensions(m_request.get())); });
    record.subjectName = nameRecord(X509_REQ_get_subject_name(m_request.get()));
    record.v3Extensions = extensionRecords(extensions.get());
    record.publicKeySizeBits = m_key != nullptr ? EVP_PKEY_get_bits(m_key) : 0;
    record.csrVersion = static_cast<int>(X509_REQ_get_version(m_request.get())) + 1;
    record.publicKeyType = keyType(m_key);
    record.signatureAlgorithmType = longName(X509_REQ_get_signature_nid(m_request.get()));
    return record;
}

} // namespace ostreld
