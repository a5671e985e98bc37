// Sets an override, a setting that an application attaches to a certificate.
//
//     overrides SERVICE KEY VALUE    sets one for the server certificate in use

#include <ostrelApi/OstrelService.h>

#include <iostream>

int main(int argc, char* argv[])
{
    if (argc != 4) {
        std::cerr << "usage: overrides SERVICE KEY VALUE\n";
        return 2;
    }
    try {
        ostrelApi::OstrelService service(argv[1]);
        ostrelApi::OverwrittenData data = service.getServerCertificateOverwrittenData("");
        data.setData(argv[2], argv[3]);
        std::cout << data.getMap().size() << " with the pending one, which discard() would drop\n";
        data.write();
        // A new object reads the file again. The object that wrote may still show the old values.
        for (const auto& [key, value] : service.getServerCertificateOverwrittenData("").getMap()) {
            std::cout << key << ": " << value << '\n';
        }
    } catch (const std::exception& failure) {
        std::cerr << "overrides: " << failure.what() << '\n';
        return 1;
    }
}
