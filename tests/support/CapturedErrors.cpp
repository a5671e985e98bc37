#include "support/CapturedErrors.h"

#include <ostrel/Debug.h>

#include <iostream>

namespace support
{

CapturedErrors::CapturedErrors() : m_former(std::cerr.rdbuf(m_text.rdbuf())) {}

CapturedErrors::~CapturedErrors()
{
    std::cerr.rdbuf(m_former);
}

CapturedTrace::CapturedTrace()
{
    ostrel::gDebug = true;
}

CapturedTrace::~CapturedTrace()
{
    ostrel::gDebug = false;
}

} // namespace support
