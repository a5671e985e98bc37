#pragma once

inline char narrowing(int number)
{
    return number;
}
