#ifndef ZU_AVIFILE_SPLIT_PICTURE_JOINER_H_
#define ZU_AVIFILE_SPLIT_PICTURE_JOINER_H_

#include <cstdint>

#include "avifile/file_view.h"
#include "avifile/read_status.h"
#include "avifile/records.h"
#include "base/c_heap.h"

/// Some writers cut MPEG-1/2 video into chunks without regard to pictures. Such chunks are joined again, and delivered
/// from picture start to picture start. Owns the joined bytes, AVI_SPLIT_BYTES at most, and the answer whether the file
/// is of that kind: one for all its streams, found by the first look and kept.
class SplitPictureJoiner {
 public:
  explicit SplitPictureJoiner(FileView& file) : m_File(file) {}

  /// Looks, once, whether the first chunks of an indexed stream begin with pictures. @return AVI_OK; AVI_EAGAIN,
  /// AVI_IO_ERROR or AVI_OUT_OF_MEMORY with nothing read, to be asked again.
  int Check(const SAVIStream* record, SChunkRead* read);
  bool IsSplitVideo() const { return m_bSplitVideo; }

  /// Adds the chunk of `entry`, the stream's next, and delivers what is complete: nothing (AVI_OK, 0 bytes, time 0)
  /// until a second picture starts. A seek does not empty the buffer. @return as ChunkReader::GetNextData.
  int Read(SAVIStream* record, const SIndexEntry& entry, SChunkRead* read);

 private:
  /// Searches what is new in the buffer, and notes the first picture start. @return position of the last other one;
  /// -1: none.
  int32_t FindLastPicture();
  void DropFront(uint32_t count);

  FileView& m_File;
  bool m_bSplitChecked = false;
  bool m_bSplitVideo = false;
  MallocPtr<uint8_t> m_pSplitBuf;
  uint32_t m_nSplitBufLen = 0;
  uint32_t m_nSplitScanned = 0;  // bytes already searched for picture starts
  int32_t m_nSplitStart = -1;    // first picture start in the buffer
};

#endif  // ZU_AVIFILE_SPLIT_PICTURE_JOINER_H_
