#include "tools/Low.h"

#include <ostrel/Debug.h>
#include <ostrel/Commands.h>
#  include "store/High.h"
#include <string>
