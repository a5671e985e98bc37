#pragma once

#include <cxxtools/jsondeserializer.h>
#include <json.hpp>
#include <ostrel/Commands.h>
#include <sys/types.h>
#include <type_traits>
