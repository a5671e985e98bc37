// Uses the classes that the library exports for the daemon: parses a command and answers
// it from the files of a store.
//
//     daemon_side SERVICE 'MESSAGE WITH BLANKS BETWEEN ITS FIELDS'

#include <ostrel/CertificateIdList.h>
#include <ostrel/Commands.h>
#include <ostrel/ExternalCertificatesAccessor.h>
#include <ostrel/ServiceConfiguration.h>

#include <algorithm>
#include <iostream>

namespace
{

std::string answer(const ostrel::ServiceConfiguration& service, const ostrel::Commands& command)
{
    if (command.target != ostrel::TargetCA || !service.m_ca) {
        return "7 ";
    }
    const ostrel::ExternalCertificatesAccessor paths(service, "ca");
    switch (command.command) {
    case ostrel::CommandList:
        return "0 " + ostrel::CertificateIdList(paths.listPath()).toTextList(" ");
    case ostrel::CommandPath:
        return "0 " + paths.certPath(command.arguments[0]);
    default:
        return "4 ";
    }
}

} // namespace

int main(int argc, char* argv[])
{
    if (argc != 3) {
        std::cerr << "usage: daemon_side SERVICE MESSAGE\n";
        return 2;
    }
    try {
        const ostrel::ServiceConfiguration service(argv[1]);
        std::string message = argv[2];
        std::replace(message.begin(), message.end(), ' ', '\t');
        std::cout << answer(service, ostrel::Commands(message)) << '\n';
    } catch (const std::exception& failure) {
        std::cerr << "daemon_side: " << failure.what() << '\n';
        return 1;
    }
}
