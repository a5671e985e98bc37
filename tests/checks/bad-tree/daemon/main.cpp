#include "Own.h"

#include <ostrel/Commands.h>
#include <openssl/x509.h>
#include "store/High.h"
