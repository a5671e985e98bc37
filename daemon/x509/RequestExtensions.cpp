#include "x509/RequestExtensions.h"

namespace ostreld
{

namespace
{

// The extensions of the profile "CA-CB_compliant".
struct CompliantExtension {
    int nid;
    const char* value;
};

constexpr CompliantExtension compliantExtensions[] = {
    {NID_basic_constraints, "critical,CA:FALSE"},
    {NID_key_usage, "critical,digitalSignature,keyEncipherment"},
    {NID_ext_key_usage, "serverAuth,clientAuth"},
};

// Passes the stack to `change`, which may replace it.
template <class Change>
bool changed(ExtensionsPointer& extensions, Change change)
{
    STACK_OF(X509_EXTENSION)* stack = extensions.release();
    const bool isDone = change(&stack);
    extensions.reset(stack);
    return isDone;
}

void replaceExtension(ExtensionsPointer& extensions, X509V3_CTX* context,
                      const CompliantExtension& wanted)
{
    for (int at; (at = X509v3_get_ext_by_NID(extensions.get(), wanted.nid, -1)) >= 0;) {
        X509_EXTENSION_free(X509v3_delete_ext(extensions.get(), at));
    }
    const bool isAdded = withMemory([&] {
        const OpenSslPointer<X509_EXTENSION, X509_EXTENSION_free> extension(
            X509V3_EXT_nconf_nid(nullptr, context, wanted.nid, wanted.value));
        return extension && changed(extensions, [&](STACK_OF(X509_EXTENSION) * *stack) {
                   return X509v3_add_ext(stack, extension.get(), -1) != nullptr;
               });
    });
    require(isAdded, ErrorDuringCsrGeneration, "an extension could not be added");
}

using NamePointer = OpenSslPointer<GENERAL_NAME, GENERAL_NAME_free>;
using NamesPointer = OpenSslPointer<GENERAL_NAMES, GENERAL_NAMES_free>;

void addName(GENERAL_NAMES* names, const std::string& text)
{
    const std::size_t colon = text.find(':');
    const int type = text.compare(0, colon, "IP") == 0 ? GEN_IPADD : GEN_DNS;
    NamePointer name = withMemory([&] {
        return NamePointer(
            a2i_GENERAL_NAME(nullptr, nullptr, nullptr, type, text.c_str() + colon + 1, 0));
    });
    require(name != nullptr, CnfNotGood, "a network name that no certificate can carry");
    if (withMemory([&] { return sk_GENERAL_NAME_push(names, name.get()) != 0; })) {
        (void)name.release();
    }
}

} // namespace

void addCompliantExtensions(ExtensionsPointer& extensions, X509V3_CTX* context)
{
    for (const CompliantExtension& row : compliantExtensions) {
        replaceExtension(extensions, context, row);
    }
}

void addNames(ExtensionsPointer& extensions, const std::vector<std::string>& texts)
{
    constexpr int noSuchExtension = -1;
    int criticality = 0;
    NamesPointer names = withMemory([&] {
        return NamesPointer(static_cast<GENERAL_NAMES*>(
            X509V3_get_d2i(extensions.get(), NID_subject_alt_name, &criticality, nullptr)));
    });
    if (!names) {
        require(criticality == noSuchExtension, CnfNotGood, "alternative names that are not valid");
        names = withMemory([] { return NamesPointer(GENERAL_NAMES_new()); });
        criticality = 0;
    }
    for (const std::string& text : texts) {
        addName(names.get(), text);
    }
    const bool isAdded = withMemory([&] {
        return changed(extensions, [&](STACK_OF(X509_EXTENSION) * *stack) {
            return X509V3_add1_i2d(stack, NID_subject_alt_name, names.get(), criticality,
                                   X509V3_ADD_REPLACE) == 1;
        });
    });
    require(isAdded, ErrorDuringCsrGeneration, "the network names could not be added");
}

} // namespace ostreld
