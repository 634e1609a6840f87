#ifndef ZU_TOOLS_AVIPROBE_REMUX_PICTURE_ORDER_H_
#define ZU_TOOLS_AVIPROBE_REMUX_PICTURE_ORDER_H_

#include <cstdint>
#include <deque>
#include <memory>
#include <vector>

#include "tools/aviprobe/remux/av.h"

/// Works out when each picture is shown. An AVI file stores pictures in the order in which they are decoded, one for
/// each frame number; which of them is shown in a frame follows from the kinds of pictures (MPEG-1/2, MPEG-4 Visual) or
/// from their order counts (H.264). The frame numbers themselves stay as they are: only who has which one changes.
class PictureOrder {
 public:
  /// @param codec  outlives the order.
  /// @throw HostError when the codec can have another order than that of the file, and nothing here tells which.
  static std::unique_ptr<PictureOrder> For(const AVCodecParameters* codec);
  /// The order of the file, whatever the codec: for containers that have no other.
  static std::unique_ptr<PictureOrder> AsInFile();
  virtual ~PictureOrder() = default;

  /// Takes the next picture of the file with its frame number as `pts`.
  /// @throw HostError when it cannot be told when this picture is shown.
  virtual void Push(AvPacket packet) = 0;
  /// No picture follows.
  virtual void Finish() = 0;

  bool HasReady() const { return !m_Ready.empty(); }
  const AVPacket& Front() const { return *m_Ready.front(); }
  /// The next picture in the order of the file with `pts` as the frame number in which it is shown and `dts`, never
  /// behind it, that rises.
  AvPacket Pop();

 protected:
  std::deque<AvPacket> m_Ready;
};

#endif  // ZU_TOOLS_AVIPROBE_REMUX_PICTURE_ORDER_H_
