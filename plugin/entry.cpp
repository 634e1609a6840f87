#define LOG_TAG "aviparser"
#include <cstdlib>
#include <new>

#include "base/log.h"
#include "platform/properties.h"
#include "plugin/avi_parser.h"
#include "zu_parser_avi/sample_index.h"

__attribute__((visibility("default"))) int debug_level = 0;

namespace {

int ReadDebugLevel() {
  char value[kPropertyBytes] = {};
  property_get("zucp.debug.level", value, "1");
  return std::atoi(value);  // NOLINT(cert-err34-c): anything that is no number means silence
}

}  // namespace

AVIParser::AVIParser() {
  mAudioTracks.fill(-1);
  mTextTracks.fill(-1);
  debug_level = ReadDebugLevel();  // of all parsers in the process: the last one made sets it
  mFileParser = new (std::nothrow) CAVIFileParser;
}

// What Open made is left to Close.
AVIParser::~AVIParser() { delete mFileParser; }

const char* AVIParser::getName() { return "AVIParser"; }

extern "C" {
__attribute__((visibility("default"))) IParser* createParser() { return new (std::nothrow) AVIParser; }
__attribute__((visibility("default"))) void destroyParser(IParser* parser) { delete parser; }
}
