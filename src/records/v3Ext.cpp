#include <ostrl/splitstr.h>
#include <ostrl/v3Ext.h>

#include "tools/Trace.h"

namespace ostrl
{

namespace
{

struct Field {
    const char* key;
    std::string v3Ext::*member;
};

// In the order of the text form.
constexpr Field fields[] = {
    {"obj_id", &v3Ext::obj_id},
    {"short_name", &v3Ext::short_name},
    {"long_name", &v3Ext::long_name},
    {"comment", &v3Ext::comment},
};

void takeField(v3Ext& extension, const std::string& text)
{
    const std::size_t space = text.find(' ');
    const std::string key = text.substr(0, space);
    // Intended: a key alone is also the value.
    const std::string value = space == std::string::npos ? text : text.substr(space + 1);
    for (const Field& field : fields) {
        if (key == field.key) {
            extension.*field.member = value;
        }
    }
}

} // namespace

void v3Ext::to(std::string& out) const
{
    std::string text;
    for (const Field& field : fields) {
        text += text.empty() ? "" : "|";
        text.append(field.key).append(" ").append(this->*field.member);
    }
    out = text + '\n';
}

void v3Ext::from(const std::string& text)
{
    // Intended: "Extention", the daemon's spelling.
    ostrel::trace("v3Extentiondata:", text);
    for (const std::string& field : splitstr(text, '|')) {
        ostrel::trace("v3Extention:", field);
        takeField(*this, field);
    }
}

} // namespace ostrl
