#include "Views.h"

namespace ostrelctl
{

View serviceTable()
{
    return {View::Table,
            "/services",
            {{"SERVICE", "/name"},
             {"NAME", "/title"},
             {"SERVER", "/stores/server", Style::Count},
             {"CA", "/stores/ca", Style::Count},
             {"CLIENT", "/stores/client", Style::Count},
             {"RUNNING", "/running", Style::YesNo},
             {"NEXT EXPIRY", "/nextExpiry/validUntil"},
             {"DAYS", "/nextExpiry/daysLeft", Style::Days},
             {"PROBLEM", "/problem", Style::Rare}}};
}

View serviceFields()
{
    return {View::Fields,
            "",
            {{"service", "/service"},
             {"name", "/title"},
             {"running", "/running", Style::YesNo},
             {"server certificates", "/stores/server", Style::Count},
             {"CAs", "/stores/ca", Style::Count},
             {"trusted clients", "/stores/client", Style::Count},
             {"next expiry", "/nextExpiry/validUntil"},
             {"days left", "/nextExpiry/daysLeft", Style::Days}}};
}

View certificateTable()
{
    return {View::Table,
            "/certificates",
            {{"ID", "/id"},
             {"COMMON NAME", "/commonName"},
             {"VALID UNTIL", "/validUntil"},
             {"DAYS", "/daysLeft", Style::Days}}};
}

View summaryFields()
{
    return {View::Fields,
            "",
            {{"id", "/id"},
             {"issued to", "/summary/issuedTo"},
             {"issued by", "/summary/issuedBy"},
             {"authority", "/summary/CA", Style::YesNo},
             {"self-signed", "/summary/selfSigned", Style::YesNo},
             {"valid from", "/summary/validFrom"},
             {"valid until", "/summary/validUntil"},
             {"days left", "/summary/daysLeft", Style::Days},
             {"addresses", "/summary/addresses", Style::List},
             {"host names", "/summary/hostNames", Style::List}}};
}

View expiryTable()
{
    return {View::Table,
            "/certificates",
            {{"DAYS", "/daysLeft", Style::Days},
             {"VALID UNTIL", "/validUntil"},
             {"SERVICE", "/service"},
             {"STORE", "/store"},
             {"ID", "/id"},
             {"COMMON NAME", "/commonName"}}};
}

View renewalTable()
{
    return {View::Table,
            "/certificates",
            {{"SERVICE", "/service"},
             {"ID", "/id"},
             {"COMMON NAME", "/commonName"},
             {"VALID UNTIL", "/validUntil"},
             {"DAYS", "/daysLeft", Style::Days},
             {"DUE", "/due", Style::Alarm}}};
}

View importTable()
{
    return {View::Table,
            "/certificates",
            {{"RESULT", "/result"},
             {"ID", "/id"},
             {"SOURCE", "/source"},
             {"REASON", "/reason", Style::Rare}},
            "{/counts/added} added, {/counts/alreadyThere} already there, "
            "{/counts/refused} refused"};
}

View texts(const char* at, const char* pointer)
{
    return {View::Text, at, {{"", pointer}}};
}

View lines(const char* at, const char* pointer)
{
    return {View::Lines, at, {{"", pointer}}};
}

View sentence(const char* text)
{
    return {View::Sentence, text};
}

} // namespace ostrelctl
