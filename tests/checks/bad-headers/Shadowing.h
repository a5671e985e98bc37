#pragma once

inline int shadowing(int number)
{
    if (number > 0) {
        int number = 1;
        return number;
    }
    return number;
}
