#pragma once

inline auto modern()
{
    return 1;
}
