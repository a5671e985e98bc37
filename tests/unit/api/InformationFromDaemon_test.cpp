// The records of a certificate and of the pending request, which the daemon
// supplies.

#include "unit/api/StockedService.h"

#include "support/CapturedErrors.h"

#include <sys/stat.h>

namespace
{

namespace fs = std::filesystem;
using ostrl::CCertificateData;
using ostrl::CCSRData;
using service_case::messageLine;
using service_case::messageStart;
using service_case::OstrelService;
using service_case::StockedService;
using support::apiError;
using support::thrownBy;

/// The query of one store. The query of the server store takes no id.
struct Store {
    const char* testName;
    /// The name of its directories, and of its target in a message.
    const char* word;
    /// Thrown when the certificate is missing.
    int returnCode;
    CCertificateData (*query)(OstrelService& web, const std::string& id);
};

// For the server store, the test makes the id the active one.
const Store stores[] = {
    {"Server", "server", 20,
     [](OstrelService& web, const std::string& /*id*/) { return web.getServerCertInfo(); }},
    {"CA", "ca", 30,
     [](OstrelService& web, const std::string& id) { return web.getCACertInfo(id); }},
    {"TrustedClient", "client", 40,
     [](OstrelService& web, const std::string& id) { return web.getTrustedClientCertInfo(id); }},
};

void PrintTo(const Store& store, std::ostream* out)
{
    *out << store.testName;
}

class FromDaemon : public StockedService
{
protected:
    OstrelService web{"web"};
    support::ScriptedPeer peer{device, "web"};
};

class CertificateFromDaemon : public FromDaemon, public testing::WithParamInterface<Store>
{
protected:
    /// Requests the record of the certificate `id`.
    CCertificateData ask(const std::string& id)
    {
        support::writeText(active, id + '\n');
        return GetParam().query(web, id);
    }

    std::string message(const std::string& id) const
    {
        return messageStart() + GetParam().word + "\tgetcertinfo\t" + kept(GetParam().word, id);
    }
};

TEST_P(CertificateFromDaemon, IsRequestedByItsPathAndReadFromThePayload)
{
    peer.answer(
        "0 subject_name CN=two\nissuer_name CN=root\npublic_key_size_bits 4096\n"
        "cert_serial 77\nvalidNotBeforeDate 0x10\nv3Extention0 obj_id 2.5.29.15|comment usage\n");
    CCertificateData expected;
    expected.subjectName.from("CN=two");
    expected.issuerName.from("CN=root");
    expected.publicKeySizeBits = 4096;
    expected.certSerial = "77";
    expected.validNotBeforeDate = 16;
    expected.v3Extensions.resize(1);
    expected.v3Extensions.front().from("obj_id 2.5.29.15|comment usage");
    std::string expectedText;
    expected.to(expectedText);
    std::string text;
    ask("2").to(text);
    EXPECT_EQ(text, expectedText);
    EXPECT_EQ(peer.lastMessage(), message("2"));
}

TEST_P(CertificateFromDaemon, HasItsDefaultsWhenThePayloadLacksTheFields)
{
    std::string expected;
    CCertificateData().to(expected);
    for (const char* reply : {"0 ", "0", "0 unknown key\n", "0 text"}) {
        peer.answer(reply);
        std::string text;
        ask("1").to(text);
        EXPECT_EQ(text, expected) << reply;
    }
}

TEST_P(CertificateFromDaemon, IsNotRequestedWhenItIsMissing)
{
    for (const char* id : {"none", "1/1", "../none"}) {
        EXPECT_EQ(thrownBy([&] { ask(id); }), apiError(GetParam().returnCode)) << id;
    }
    fs::create_symlink("nothing", kept(GetParam().word, "link"));
    EXPECT_EQ(thrownBy([&] { ask("link"); }), apiError(GetParam().returnCode));
    EXPECT_TRUE(peer.messages().empty());
}

// The path of an empty id is the directory of the store.
TEST_P(CertificateFromDaemon, IsRequestedForAnyExistingFile)
{
    support::writeText(kept(GetParam().word, "no certificate"), "text");
    for (const char* id : {"no certificate", "1.key", ""}) {
        peer.answer("7 ");
        EXPECT_EQ(thrownBy([&] { ask(id); }), apiError(7)) << id;
        EXPECT_EQ(peer.lastMessage(), message(id));
    }
}

TEST_P(CertificateFromDaemon, IsTracedOnlyByTheExchangeAndTheRecord)
{
    const std::string record = "v3Extention0 obj_id 2.5.29.15|comment usage\n";
    std::string recordTrace;
    {
        const support::CapturedTrace trace;
        CCertificateData().from(record);
        recordTrace = trace.text();
    }
    EXPECT_NE(recordTrace, "");
    const support::CapturedTrace trace;
    peer.answer("0 " + record);
    ask("2");
    EXPECT_EQ(trace.text(), messageLine(message("2")) + recordTrace);
}

TEST_P(CertificateFromDaemon, CannotBeRequestedWithoutTheDaemon)
{
    fs::remove(peer.lockPath());
    EXPECT_EQ(thrownBy([&] { ask("1"); }), apiError(11));
    EXPECT_EQ(thrownBy([&] { ask("none"); }), apiError(GetParam().returnCode))
        << "the file is checked first";
}

INSTANTIATE_TEST_SUITE_P(Stores, CertificateFromDaemon, testing::ValuesIn(stores),
                         testing::PrintToStringParamName());

using ServerFromDaemon = FromDaemon;

TEST_F(ServerFromDaemon, IsNotRequestedWithoutTheFileOfTheActiveId)
{
    fs::remove(active);
    EXPECT_EQ(thrownBy([&] { web.getServerCertInfo(); }), apiError(1));
    EXPECT_TRUE(peer.messages().empty());
}

using CsrFromDaemon = FromDaemon;

TEST_F(CsrFromDaemon, IsRequestedWithoutAnArgumentAndReadFromThePayload)
{
    peer.answer("0 subject_name CN=web\npublic_key_size_bits 256\ncsr_version 1\n"
                "public_key_type EC\nsignatureAlgorithm_type ecdsa\nissuer_name CN=nobody\n");
    const CCSRData record = web.getCsrInfo();
    EXPECT_EQ(peer.lastMessage(), messageStart() + "server\tgetcsrinfo");
    EXPECT_EQ(record.publicKeySizeBits, 256);
    EXPECT_EQ(record.csrVersion, 1);
    EXPECT_EQ(record.publicKeyType, "EC");
    EXPECT_EQ(record.signatureAlgorithmType, "ecdsa");
    ostrl::CDistinguishedName subject;
    subject.from("CN=web");
    std::string expected;
    std::string text;
    subject.to(expected);
    ostrl::CDistinguishedName(record.subjectName).to(text);
    EXPECT_EQ(text, expected);
}

TEST_F(CsrFromDaemon, HasItsDefaultsWhenThePayloadLacksTheFields)
{
    peer.answer("0 ");
    const CCSRData record = web.getCsrInfo();
    EXPECT_EQ(record.publicKeySizeBits, 2048);
    EXPECT_EQ(record.csrVersion, 3);
    EXPECT_EQ(record.publicKeyType, "");
    EXPECT_EQ(record.signatureAlgorithmType, "");
    EXPECT_TRUE(record.v3Extensions.empty());
}

TEST_F(CsrFromDaemon, IsNotRequestedWhenNoRequestIsPending)
{
    fs::remove(csr);
    EXPECT_EQ(thrownBy([&] { web.getCsrInfo(); }), apiError(21));
    fs::create_symlink("nothing", csr);
    EXPECT_EQ(thrownBy([&] { web.getCsrInfo(); }), apiError(21));
    EXPECT_TRUE(peer.messages().empty());
}

TEST_F(CsrFromDaemon, IsNotReadFromItsFile)
{
    fs::remove(csr);
    ASSERT_EQ(::mknod(csr.c_str(), S_IFSOCK | 0600, 0), 0);
    peer.answer("0 ");
    EXPECT_EQ(thrownBy([&] { web.getCsrInfo(); }), "nothing");
}

} // namespace
