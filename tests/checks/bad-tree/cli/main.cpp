#include "daemon/Own.h"
#include "store/High.h"
