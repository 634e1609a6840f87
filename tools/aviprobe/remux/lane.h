#ifndef ZU_TOOLS_AVIPROBE_REMUX_LANE_H_
#define ZU_TOOLS_AVIPROBE_REMUX_LANE_H_

#include <memory>
#include <string>

#include "tools/aviprobe/remux/muxer.h"
#include "tools/aviprobe/remux/picture_order.h"
#include "tools/aviprobe/remux/stream_parameters.h"
#include "tools/aviprobe/remux/track_reader.h"

/// One track on its way from the library into a container.
class Lane {
 public:
  /// Reads the first unit. @param header, config  see SStreamFacts.
  Lane(const Host& host, const SRemuxJob& job, uint32_t track, const SStreamHeader& header,
       const std::vector<uint8_t>& config);

  const SStreamParameters& Parameters() const { return m_Parameters; }
  /// Whether there is a packet to write; reads on for it.
  bool Fill();
  /// Of the packet to write, in TimeBase().
  int64_t Time() const;
  AVRational TimeBase() const { return m_Base; }
  void Write(Muxer* muxer, size_t stream);
  /// How it went; complete when nothing is left to write.
  SRemuxedTrack& Result() { return m_Reader.Facts(); }

 private:
  void StampPicture(AVPacket* packet);
  void StampSound(AVPacket* packet);
  void WriteGaps(Muxer* muxer, size_t stream, int64_t frame);
  bool IsVideo() const { return m_Parameters.codec->codec_type == AVMEDIA_TYPE_VIDEO; }

  EContainer m_Container;
  TrackReader m_Reader;
  KeyTeller m_Keys;
  AvPacket m_Unit;  // the next one, not yet stamped
  SStreamParameters m_Parameters;
  AVRational m_Base{};
  std::unique_ptr<PictureOrder> m_pOrder;
  AvPacket m_Sound;         // stamped
  int64_t m_nFrame = -1;    // of the last picture read
  int64_t m_nSamples = -1;  // before the next unit of sound; -1: none was read
  int64_t m_nWritten = 0;   // frames or units of sound
};

#endif  // ZU_TOOLS_AVIPROBE_REMUX_LANE_H_
