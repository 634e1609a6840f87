#include <cstdlib>

#include "base/checked_math.h"

void FatalOverflow() { std::abort(); }
