#pragma once

#include <ostrel/Commands.h>
#include <cxxtools/jsondeserializer.h>
#include <json.hpp>
#include <sys/types.h>
#include <type_traits>
