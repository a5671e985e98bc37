// Adds every CA certificate of a directory to a service, lists them, finds them by common
// name and by text, reads them back and revokes them.
//
//     ca_import SERVICE DIRECTORY

#include <ostrelApi/OstrelService.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <iterator>
#include <map>

namespace
{
std::string textOf(const std::filesystem::path& path)
{
    std::ifstream file(path);
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

void takeThroughLife(ostrelApi::OstrelService& service, const char* directory)
{
    std::map<std::string, std::string> texts;
    for (const auto& entry : std::filesystem::directory_iterator(directory)) {
        const std::string text = textOf(entry.path());
        texts[service.addCA(text)] = text;
    }
    const auto isFound = [&](const auto& ca) { return service.getIdCA(ca.second) == ca.first; };
    const auto isEqual = [&](const auto& ca) { return service.getCA(ca.first) == ca.second; };
    const std::vector<std::string> ids = service.getCAList();
    const std::vector<std::string> named = service.getCAListByCN("ISRG Root X1");
    std::cout << "added      " << texts.size() << '\n'
              << "listed     " << ids.size() << ", the first is " << ids.at(0) << '\n'
              << "by name    ISRG Root X1 is " << (named.empty() ? "absent" : named[0]) << '\n'
              << "by text    " << std::count_if(texts.begin(), texts.end(), isFound) << '\n'
              << "read back  " << std::count_if(texts.begin(), texts.end(), isEqual)
              << " equal to what went in\n"
              << "revoked    " << service.revokeCA(ids).size() << '\n'
              << "left       " << service.getCAList().size() << '\n';
}
} // namespace

int main(int argc, char* argv[])
{
    if (argc != 3) {
        std::cerr << "usage: ca_import SERVICE DIRECTORY\n";
        return 2;
    }
    try {
        ostrelApi::OstrelService service(argv[1]);
        takeThroughLife(service, argv[2]);
    } catch (const std::exception& failure) {
        std::cerr << "ca_import: " << failure.what() << '\n';
        return 1;
    }
}
