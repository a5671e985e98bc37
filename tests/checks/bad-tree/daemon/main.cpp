#include "Own.h"

#include "store/High.h"
#include <openssl/x509.h>
#include <ostrel/Commands.h>
