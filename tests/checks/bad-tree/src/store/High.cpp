#include "High.h"
#include "../tools/Low.h"
#include HEADER
