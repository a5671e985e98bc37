#include <ostrl/CCSRData.h>

#include "records/TextRecord.h"

namespace ostrl
{

namespace
{

constexpr FieldRow<CCSRData> rows[] = {
    {"subject_name", &CCSRData::subjectName},
    {"public_key_size_bits", &CCSRData::publicKeySizeBits},
    {"csr_version", &CCSRData::csrVersion},
    {"public_key_type", &CCSRData::publicKeyType},
    {"signatureAlgorithm_type", &CCSRData::signatureAlgorithmType},
};

} // namespace

CCSRData::CCSRData() = default;

void CCSRData::to(std::string& out)
{
    out = recordText(*this, rows);
}

void CCSRData::from(const std::string& text)
{
    takeRecord(*this, rows, text);
}

} // namespace ostrl
