#ifndef ZU_PLUGIN_SYNC_FRAMER_H_
#define ZU_PLUGIN_SYNC_FRAMER_H_

#include "plugin/avi_parser.h"

/// What differs between the two formats that are cut on their sync words. AVI chunks need not hold whole frames.
struct AVIParser::SSyncFramer {
  CarryBuffer& buffer;
  uint64_t& frameSize;  // bytes, of the frame at the front as far as it is known
  uint64_t& timestamp;  // milliseconds, of the last frame delivered
  uint8_t& resync;
  uint8_t& framing;
  const char* name;     // in messages
  const char* endText;  // logged when the first read of a call meets the end
  bool readsAheadWhenVbr;

  /// Finds the first header in `*len` bytes and moves it to the front, shortening `*len`. @return 0; negative: none
  /// (`*len` 0, the bytes zeroed) or fewer than 4 bytes (left as they are).
  int (AVIParser::*detect)(unsigned char* buf, unsigned long* len);
  /// Copies the frame at the front of `*bufLen` bytes to `out`. `*bufLen` becomes the bytes left, which lie `*removed`
  /// bytes behind the front. @return 0, or AVI_ERROR with `*outLen` 0.
  int (AVIParser::*cut)(unsigned char* buf, unsigned long* bufLen, unsigned char* out, unsigned long* outLen,
                        unsigned long maxLen, uint64_t* removed);
  /// Time of a frame cut without a read, from the cut's result, the second byte at the front after it, and what the
  /// host's time cell held.
  uint64_t (AVIParser::*bufferedTime)(int cut, uint8_t nextByte1, uint64_t hostTime) const;
};

#endif  // ZU_PLUGIN_SYNC_FRAMER_H_
