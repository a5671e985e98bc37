#pragma once

#include "engine/Middle.h"
#include "main.h"
