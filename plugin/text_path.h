#ifndef ZU_PLUGIN_TEXT_PATH_H_
#define ZU_PLUGIN_TEXT_PATH_H_

#include "plugin/delivery.h"

/// Subtitles on their way to the host. Owns nothing; relies on the file's own cursor.
class TextPath {
 public:
  /// Delivers one sample; `out->time`, below AVI_END_MARK, comes back as it was. @return 0, with length 0 when nothing
  /// could be read for now; AVI_END_OF_STREAM; a fatal status. The length is 0 unless it returns 0.
  static int GetTextData(const STrackInput& in, SDelivery* out);
  /// Reads one chunk. The end has AVI_END_MARK as length and time. @return 0 or a fatal status
  static int avi_parser_get_text_data(const STrackInput& in, SDelivery* out);
};

#endif  // ZU_PLUGIN_TEXT_PATH_H_
