#include "ManualClock.h"
