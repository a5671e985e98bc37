#include "commands/Table.h"

#include "commands/Families.h"

namespace ostrelctl
{

const CommandTable& commandTable()
{
    static const CommandTable table = {
        serviceFamily(),
        expiryFamily(),
        serverFamily(),
        externalFamily(caStore),
        externalFamily(clientStore),
        overrideFamily(),
        notificationFamily(),
    };
    return table;
}

} // namespace ostrelctl
