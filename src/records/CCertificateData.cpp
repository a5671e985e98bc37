#include <ostrl/CCertificateData.h>

#include "records/TextRecord.h"

namespace ostrl
{

using Data = CCertificateData;

const std::string Data::DEFAULT_CERT_SERIAL = "2";
const std::string Data::DEFAULT_SIGN_ALGO_TYPE = "RSA";
const std::string Data::CERTIFICATE_v3_EXT_BASIC_CONSTRAINTS = "critical,CA:TRUE";
const std::string Data::CERTIFICATE_v3_EXT_KEY_USAGE = "critical,keyCertSign,CRLSign";
const std::string Data::CERTIFICATE_v3_EXT_SUB_KEY_IDENTIFIER = "hash";
const std::string Data::CERTIFICATE_v3_EXT_NETSCAPE_CERT_TYPE = "sslCA";
const std::string Data::CERTIFICATE_v3_EXT_NETSCAPE_COMMENT = "Self Signed Certificate";

namespace
{

constexpr FieldRow<Data> rows[] = {
    {"public_key_size_bits", &Data::publicKeySizeBits},
    {"cert_serial", &Data::certSerial},
    {"validity_days", &Data::validityDays},
    {"cert_version", &Data::certVersion},
    {"signatureAlgorithm_type", &Data::signatureAlgorithmType},
    {"public_key_type", &Data::publicKeyType},
    {"validNotBeforeDate", &Data::validNotBeforeDate},
    {"validNotAfterDate", &Data::validNotAfterDate},
    {"public_key", &Data::publicKey},
    {"subject_name", &Data::subjectName},
    {"issuer_name", &Data::issuerName},
};

} // namespace

CCertificateData::CCertificateData() = default;

void CCertificateData::to(std::string& out)
{
    out = recordText(*this, rows);
}

void CCertificateData::from(const std::string& text)
{
    takeRecord(*this, rows, text);
}

} // namespace ostrl
