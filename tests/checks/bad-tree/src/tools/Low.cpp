#include "tools/Low.h"

#include "store/High.h"
#include <ostrel/Commands.h>
#include <ostrel/Debug.h>
#include <string>
