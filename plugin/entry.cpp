#include <new>

#include "plugin/avi_parser.h"
#include "zu_parser_avi/sample_index.h"

__attribute__((visibility("default"))) int debug_level = 0;

extern "C" {
__attribute__((visibility("default"))) IParser* createParser() { return new (std::nothrow) AVIParser; }
__attribute__((visibility("default"))) void destroyParser(IParser* parser) { delete parser; }
}
