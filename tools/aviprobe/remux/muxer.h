#ifndef ZU_TOOLS_AVIPROBE_REMUX_MUXER_H_
#define ZU_TOOLS_AVIPROBE_REMUX_MUXER_H_

#include <string>
#include <vector>

#include "tools/aviprobe/remux/av.h"
#include "tools/aviprobe/remux/remux.h"
#include "tools/aviprobe/remux/stream_parameters.h"

/// Writes one container. The same input gives the same bytes each time.
class Muxer {
 public:
  /// Creates the temporary file. @throw HostError when it is there already or cannot be made.
  explicit Muxer(const SRemuxJob& job);
  ~Muxer();
  Muxer(const Muxer&) = delete;
  Muxer& operator=(const Muxer&) = delete;

  void AddStream(const SStreamParameters& parameters);
  /// All streams are there. @throw CopyError when the container does not take them.
  void Begin();
  /// Of its times in packets. @param stream  as they were added.
  AVRational TimeBase(size_t stream) const { return m_pFormat->streams[stream]->time_base; }
  /// Times in TimeBase().
  void Write(size_t stream, AVPacket* packet);
  /// Completes the file, which keeps its temporary name.
  void Finish();

 private:
  std::string m_sPath;  // for messages
  std::string m_sTemporary;
  AVFormatContext* m_pFormat = nullptr;
};

#endif  // ZU_TOOLS_AVIPROBE_REMUX_MUXER_H_
