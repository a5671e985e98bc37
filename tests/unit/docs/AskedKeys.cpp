#include "unit/docs/AskedKeys.h"

#include "tools/KeyValueText.h"

// The linker's --wrap gives the calls of ostrel::valueOf() to the first of
// these, and the second one is what it was.
#define VALUE_OF                                                                                   \
    "_ZN6ostrel7valueOfERKSt3mapINSt7__cxx1112basic_stringIcSt11char_traitsIcESaIcEEES6_"          \
    "St4lessIS6_ESaISt4pairIKS6_S6_EEERSA_"

std::string wrappedValueOf(const ostrel::KeyValueMap& map,
                           const std::string& key) asm("__wrap_" VALUE_OF);
std::string realValueOf(const ostrel::KeyValueMap& map,
                        const std::string& key) asm("__real_" VALUE_OF);

namespace
{

std::set<std::string>& askedKeys()
{
    static std::set<std::string> keys;
    return keys;
}

std::string withoutNumber(const std::string& key)
{
    const std::size_t dot = key.find('.');
    return dot == std::string::npos ? key : key.substr(0, dot) + ".<i>";
}

} // namespace

std::string wrappedValueOf(const ostrel::KeyValueMap& map, const std::string& key)
{
    askedKeys().insert(withoutNumber(key));
    return realValueOf(map, key);
}

std::set<std::string> keysAskedBy(void (*read)())
{
    askedKeys().clear();
    read();
    return askedKeys();
}
