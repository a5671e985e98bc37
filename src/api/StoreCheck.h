#pragma once

#include <ostrelApi/OstrelApiException.h>
#include <ostrelApi/ReturnCode.h>

namespace ostrelApi
{

/// Fails with NoSuchTarget unless the service has the store: the first step of
/// every operation on one.
inline void requireStore(bool hasStore)
{
    if (!hasStore) {
        throw OstrelApiException(NoSuchTarget);
    }
}

} // namespace ostrelApi
