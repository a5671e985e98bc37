#pragma once

#include "failure/Sink.h"
