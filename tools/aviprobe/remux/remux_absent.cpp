#include "tools/aviprobe/remux/remux.h"

bool RemuxIsBuiltIn() { return false; }

SRemuxed Remux(const Host&, const SRemuxJob&, Progress&) { throw HostError("remux is not built in"); }
