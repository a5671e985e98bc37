#include "engine/Middle.h"
#include "commands/Top.h"
