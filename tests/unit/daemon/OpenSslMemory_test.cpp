#include "base/Files.h"
#include "support/Device.h"
#include "support/TextFiles.h"
#include "x509/Certificate.h"
#include "x509/Identity.h"
#include "x509/Key.h"
#include "x509/RequestProfile.h"
#include "x509/SigningRequest.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <functional>
#include <new>

#include <malloc.h>

// The linker replaces the C library's functions in this program, but not in shared
// libraries: only the daemon's own code calls these. operator delete is replaced too.

#include <unistd.h>

namespace
{

bool isArmed = false;
bool failsOnce = false;
bool wasReached = false;
std::size_t passing = 0;

/// A part of a key that no freed memory may contain. Empty: nothing is checked.
std::string secret;
int freedSecrets = 0;

void checkFreed(const void* memory, std::size_t size)
{
    if (!secret.empty() && memory != nullptr &&
        ::memmem(memory, size, secret.data(), secret.size()) != nullptr) {
        ++freedSecrets;
    }
}

bool failsNow()
{
    if (!isArmed || (passing != 0 && passing-- != 0)) {
        return false;
    }
    wasReached = true;
    isArmed = !failsOnce;
    return true;
}

} // namespace

// The functions of the C library that the daemon gives to OpenSSL.
extern "C" {

// NOLINTBEGIN(bugprone-reserved-identifier): the linker's names.
void __real_free(void* memory);

void __wrap_free(void* memory)
{
    checkFreed(memory, ::malloc_usable_size(memory));
    __real_free(memory);
}

// Always moves, so that what is left behind is checked.
void* __wrap_realloc(void* memory, std::size_t size)
{
    void* const moved = failsNow() ? nullptr : std::malloc(size);
    if (moved != nullptr && memory != nullptr) {
        std::memcpy(moved, memory, std::min(size, ::malloc_usable_size(memory)));
        __wrap_free(memory);
    }
    return moved;
}
// NOLINTEND(bugprone-reserved-identifier)
}

// A sanitizer compares how memory is freed with how it was allocated.
void* operator new(std::size_t size)
{
    if (void* const memory = std::malloc(size)) {
        return memory;
    }
    throw std::bad_alloc();
}

void* operator new[](std::size_t size)
{
    return operator new(size);
}

void operator delete(void* memory) noexcept
{
    __wrap_free(memory);
}

void operator delete(void* memory, std::size_t /*size*/) noexcept
{
    operator delete(memory);
}

void operator delete[](void* memory) noexcept
{
    operator delete(memory);
}

void operator delete[](void* memory, std::size_t /*size*/) noexcept
{
    operator delete(memory);
}

namespace
{

const char configuration[] = "[ req ]\n"
                             "distinguished_name = name\n"
                             "prompt = no\n"
                             "req_extensions = wanted\n"
                             "[ name ]\n"
                             "C = FR\n"
                             "O = Company\n"
                             "CN = K\xc3\xb6ln\n"
                             "1.2.3.4.5.6 = private\n"
                             "[ wanted ]\n"
                             "basicConstraints = critical, CA:TRUE\n"
                             "keyUsage = keyCertSign, digitalSignature\n"
                             "extendedKeyUsage = serverAuth, 1.2.3.4\n"
                             "subjectKeyIdentifier = hash\n"
                             "subjectAltName = DNS:a.example, IP:192.0.2.1, email:b@example.com\n"
                             "crlDistributionPoints = URI:http://c.example/crl\n"
                             "certificatePolicies = 1.2.3.4\n"
                             "1.2.3.4.5.6.7 = ASN1:UTF8String:private\n";

std::string describe(const ostreld::Certificate& certificate)
{
    std::string record;
    certificate.record().to(record);
    return certificate.id() + certificate.pem() + certificate.commonName() + certificate.info() +
           certificate.details() + record;
}

std::string describeRequest(const std::string& pem)
{
    std::string record;
    ostreld::SigningRequest(pem).record().to(record);
    return record;
}

// A sanitizer takes a hundred times as long to throw an exception.
#if defined(__has_feature)
constexpr std::size_t stride = __has_feature(address_sanitizer) ? 37 : 1;
#else
constexpr std::size_t stride = 1;
#endif

/// Without memory, each operation throws or gives its full result.
class OpenSslMemory : public testing::Test
{
protected:
    void SetUp() override
    {
        device.addService("web", "server yes\ncnfFile /x\nnetworkInterface.0 lo\n"
                                 "includeIPv4.0 yes\n");
    }
    void TearDown() override { isArmed = false; }

    ostrel::ServiceConfiguration web() const { return ostrel::ServiceConfiguration("web"); }

    /// `compared` puts a result into words after the fault.
    template <class Result>
    void expectAllOrNothing(const std::function<Result()>& work,
                            const std::function<std::string(const Result&)>& compared)
    {
        const std::string expected = compared(work());
        for (const bool once : {true, false}) {
            for (std::size_t n = 0;; n += stride) {
                arm(n, once);
                try {
                    const Result result = work();
                    isArmed = false;
                    ASSERT_EQ(compared(result), expected) << "allocation " << n << ' ' << once;
                } catch (const std::exception&) {
                    isArmed = false;
                }
                if (!wasReached) {
                    EXPECT_GT(n, 0U);
                    break;
                }
            }
        }
    }

    void expectAllOrNothing(const std::function<std::string()>& work)
    {
        expectAllOrNothing<std::string>(work, [](const std::string& text) { return text; });
    }

    static void arm(std::size_t n, bool once)
    {
        passing = n;
        failsOnce = once;
        wasReached = false;
        isArmed = true;
    }

    const support::Device device;
};

TEST_F(OpenSslMemory, FailureLeavesNoPartOfACertificate)
{
    for (const char* const start : {"", "[ req ]\nec_paramgen_curve = P-256\n"}) {
        const std::string pem =
            ostreld::makeSelfSigned(web(), std::string(start) + configuration, 30).pem;
        expectAllOrNothing([&] { return describe(ostreld::Certificate(pem)); });
        expectAllOrNothing([&] { return describe(ostreld::Certificate(pem + pem)); });
    }
}

TEST_F(OpenSslMemory, FailureLeavesNoPartOfACertificateWithAnUnusualLayout)
{
    std::string pem = ostreld::makeSelfSigned(web(), configuration, 30).pem;
    pem.erase(pem.find('\n', 40), 1);
    ASSERT_EQ(ostreld::Certificate(pem).pem(), pem);
    expectAllOrNothing([&] { return ostreld::Certificate(pem).pem(); });
}

TEST_F(OpenSslMemory, FailureLeavesNoPartOfARequest)
{
    const std::string pem = ostreld::makeRequest(web(), configuration, true).pem;
    expectAllOrNothing([&] { return describeRequest(pem); });
}

TEST_F(OpenSslMemory, FailureDoesNotMakeAnotherKeyOrNone)
{
    const ostreld::Identity made = ostreld::makeSelfSigned(web(), configuration, 30);
    const std::string expected(made.key.view());
    expectAllOrNothing([&] { return std::string(ostreld::Key::fromPem(expected).pem().view()); });
    expectAllOrNothing([&] {
        return std::to_string(
            ostreld::Key::fromPem(expected).matches(ostreld::Certificate(made.pem).publicKey()));
    });
    expectAllOrNothing<ostreld::SecretText>(
        [] {
            return ostreld::Key::generate({"P-256", 0}).pem();
        },
        [](const ostreld::SecretText& text) {
            return std::to_string(ostreld::Key::fromPem(text.view()).get() != nullptr);
        });
}

TEST_F(OpenSslMemory, FailureDoesNotMakeAPartOfARequestOrOfACertificate)
{
    const ostreld::Key key = ostreld::Key::generate({"P-256", 0});
    const ostrel::ServiceConfiguration service = web();
    for (const bool isCompliant : {false, true}) {
        const auto profile = [&] {
            ostreld::RequestProfile result(service, configuration);
            if (isCompliant) {
                result.makeCompliant();
            }
            return result;
        };
        expectAllOrNothing<std::string>([&] { return profile().request(key); }, describeRequest);
        expectAllOrNothing<std::string>([&] { return profile().selfSigned(key, 30); },
                                        [](const std::string& pem) {
                                            const ostreld::Certificate made(pem);
                                            std::string text;
                                            ostrl::CCertificateData record = made.record();
                                            record.certSerial.clear();
                                            record.validNotBeforeDate = 0;
                                            record.validNotAfterDate = 0;
                                            record.to(text);
                                            return text +
                                                   (made.isSelfSigned() ? " self-signed" : "");
                                        });
    }
}

ostreld::SecretText readSecret(const std::string& path, const std::string& name)
{
    ostreld::Directory directory(path, ostreld::Durability::Volatile);
    directory.make({::getegid(), S_IRWXU});
    return directory.readSecretIfThere(name);
}

TEST_F(OpenSslMemory, NoFreedMemoryHoldsAPrivateKey)
{
    for (const char* const start : {"", "[ req ]\nec_paramgen_curve = P-256\n"}) {
        const ostreld::Identity made =
            ostreld::makeRequest(web(), std::string(start) + configuration, false);
        const support::TemporaryDirectory directory;
        const std::string path = directory / "key";
        support::writeText(path, std::string(made.key.view()));
        const std::string piece(made.key.view().substr(made.key.size() / 2 - 10, 20));
        // A check that can fail.
        freedSecrets = 0;
        secret = piece;
        delete new std::string(made.key.view());
        EXPECT_EQ(freedSecrets, 1);
        freedSecrets = 0;
        {
            const ostreld::SecretText text = readSecret(directory.path(), "key");
            EXPECT_TRUE(text.view() == made.key.view());
            const ostreld::SecretText again = ostreld::Key::fromPem(text.view()).pem();
            EXPECT_TRUE(again.view() == made.key.view());
        }
        EXPECT_EQ(freedSecrets, 0);
        secret.clear();
    }
}

} // namespace
