#include "base/checked_math.h"
#include "fuzz/fuzz_support.h"

// The deliberate end of the process is no finding: the run ends here and the next one goes on.
void FatalOverflow() { EndByFatalOverflow(); }
