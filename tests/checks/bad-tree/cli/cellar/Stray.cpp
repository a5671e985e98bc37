#include "commands/Top.h"
