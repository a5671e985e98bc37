// Takes a service's server certificate through its life, one step in each run.
//
//     server_life SERVICE request > request.pem    makes a new key and signing request
//     server_life SERVICE apply certificate.pem    applies the certificate that answers it
//     server_life SERVICE show                     shows the certificate in use
//     server_life SERVICE revoke                   revokes it

#include <ostrel/Tools.h>
#include <ostrelApi/OstrelService.h>

#include <iostream>

namespace
{

constexpr int secondsPerDay = 86400;

void show(ostrelApi::OstrelService& service)
{
    const auto info = service.getServerCertificateInfo("");
    for (const auto& [key, value] : info) {
        std::cout << key << ": " << value << '\n';
    }
    const int left = ostrel::Tools::getSecondBeforeReachTimestamp(std::stoi(info.at("validUntil")));
    std::cout << "days left: " << left / secondsPerDay << '\n'
              << "serial: " << service.getServerCertInfo().certSerial << '\n'
              << service.getServerCertificateDetails("").substr(0, 120) << "...\n";
}

void step(ostrelApi::OstrelService& service, const std::string& name, const std::string& file)
{
    if (name == "request") {
        service.createServerCsr();
        std::cout << service.getServerCsr();
    } else if (name == "apply") {
        service.applyServerCertificateFile(file);
    } else if (name == "show") {
        show(service);
    } else if (name == "revoke") {
        service.revokeServerCertificate("");
    }
}

} // namespace

int main(int argc, char* argv[])
{
    if (argc < 3) {
        std::cerr << "usage: server_life SERVICE request|apply|show|revoke [FILE]\n";
        return 2;
    }
    try {
        ostrelApi::OstrelService service(argv[1]);
        step(service, argv[2], argc > 3 ? argv[3] : "");
    } catch (const std::exception& failure) {
        std::cerr << "server_life: " << failure.what() << '\n';
        return 1;
    }
}
