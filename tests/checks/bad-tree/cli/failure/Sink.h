#pragma once

#include "engine/Middle.h"
