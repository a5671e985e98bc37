#include "store/High.h"
#include "tools/Low.h"
#include <ostrel/Commands.h>
