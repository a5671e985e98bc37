#pragma once

#include "tools/Low.h"
#include <cxxtools/jsondeserializer.h>
