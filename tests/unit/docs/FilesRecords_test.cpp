// The text records of docs/FILES.md: built in code, written by the library, and
// read back.

#include "support/Document.h"
#include "unit/records/RecordText.h"

#include <ostrl/CCSRData.h>
#include <ostrl/CCertificateData.h>

#include <gtest/gtest.h>

namespace
{

using record_text::recordOf;
using record_text::textOf;

std::string example(const std::string& name)
{
    return support::readDocument("FILES.md").bytes(name);
}

/// Writes the record as in the example, reads it, and writes it again.
template <class Record>
void expectExample(const std::string& name, const Record& record)
{
    const std::string bytes = example(name);
    EXPECT_EQ(textOf(record), bytes) << support::dumpOf(textOf(record));
    EXPECT_EQ(textOf(recordOf<Record>(bytes)), bytes);
}

ostrl::CDistinguishedName nameOf(const std::string& company, const std::string& commonName)
{
    ostrl::CDistinguishedName name;
    name.companyName = company;
    name.commonName = commonName;
    return name;
}

TEST(FilesRecords, WriteAndReadTheNameOfTheExample)
{
    ostrl::CDistinguishedName name = nameOf("Example", "web.example");
    name.countryCode = "US";
    name.divisionNames = {"Devices", "Lab"};
    expectExample("name", name);
}

TEST(FilesRecords, WriteAndReadTheExtensionOfTheExample)
{
    ostrl::v3Ext extension;
    extension.obj_id = "2.5.29.19";
    extension.short_name = "basicConstraints";
    extension.long_name = "X509v3 Basic Constraints";
    extension.comment = "critical, CA:TRUE";
    const std::string bytes = example("extension");
    EXPECT_EQ(textOf(extension), bytes) << support::dumpOf(textOf(extension));
    // A record reads an extension without the line feed that ends it.
    EXPECT_EQ(textOf(recordOf<ostrl::v3Ext>(bytes.substr(0, bytes.size() - 1))), bytes);
}

TEST(FilesRecords, WriteAndReadTheCertificateOfTheExample)
{
    ostrl::CCertificateData data;
    data.publicKeySizeBits = 256;
    data.certSerial = "4097";
    data.signatureAlgorithmType = "ecdsa-with-SHA256";
    data.publicKeyType = "EC";
    data.validNotBeforeDate = 1704067200;
    data.validNotAfterDate = 1735603200;
    data.publicKey = "MFkwEwYHKoZIzj0CAQ";
    data.subjectName = nameOf("", "web.example");
    data.issuerName = nameOf("Example", "My Root CA");
    data.v3Extensions.resize(1);
    data.v3Extensions[0].obj_id = "2.5.29.17";
    data.v3Extensions[0].short_name = "subjectAltName";
    data.v3Extensions[0].long_name = "X509v3 Subject Alternative Name";
    data.v3Extensions[0].comment = "DNS:web.example";
    expectExample("certificate", data);
}

TEST(FilesRecords, WriteAndReadTheRequestOfTheExample)
{
    ostrl::CCSRData data;
    data.subjectName = nameOf("", "web.example");
    data.csrVersion = 1;
    data.publicKeyType = "RSA";
    data.signatureAlgorithmType = "sha256WithRSAEncryption";
    expectExample("request", data);
}

} // namespace
