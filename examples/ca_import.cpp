// Takes every CA certificate of a directory through its life in one service:
// added, listed, found by common name and by its text, read back, revoked.
//
//     ca_import SERVICE DIRECTORY

#include <ostrelApi/OstrelService.h>

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

std::map<std::string, std::string> addAll(ostrelApi::OstrelService& service, const char* directory)
{
    std::map<std::string, std::string> textById;
    for (const auto& entry : std::filesystem::directory_iterator(directory)) {
        const std::string text = textOf(entry.path());
        textById[service.addCA(text)] = text;
    }
    std::cout << "added         " << textById.size() << " CAs, the first under the id "
              << textById.begin()->first << '\n';
    return textById;
}

// How many certificates a question is answered right for.
template <class Question>
std::size_t count(const std::map<std::string, std::string>& textById, Question isRight)
{
    std::size_t right = 0;
    for (const auto& [id, text] : textById) {
        right += isRight(id, text) ? 1 : 0;
    }
    return right;
}

void show(ostrelApi::OstrelService& service, const char* directory)
{
    const auto textById = addAll(service, directory);
    const std::vector<std::string> ids = service.getCAList();
    std::cout << "listed        " << ids.size() << " ids, in ascending order\n";
    const auto named = service.getCAListByCN("ISRG Root X1");
    std::cout << "by name       \"ISRG Root X1\" is " << (named.empty() ? "absent" : named[0])
              << '\n';
    std::cout << "by text       " << count(textById, [&](const auto& id, const auto& text) {
        return service.getIdCA(text) == id;
    }) << " found under their own id\n";
    std::cout << "read back     " << count(textById, [&](const auto& id, const auto& text) {
        return service.getCA(id) == text;
    }) << " equal to what went in\n";
    std::cout << "revoked       " << service.revokeCA(ids).size() << ", which leaves "
              << service.getCAList().size() << '\n';
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
        show(service, argv[2]);
    } catch (const std::exception& failure) {
        std::cerr << "ca_import: " << failure.what() << '\n';
        return 1;
    }
}
