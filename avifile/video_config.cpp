#define LOG_TAG "AVIFileParser"
#include <algorithm>
#include <cstring>

#include "avifile/config_reader.h"
#include "avifile/format_fields.h"
#include "avifile/video_bitstream.h"
#include "avifile/vol_header.h"
#include "base/c_heap.h"
#include "base/log.h"
#include "zu_parser_avi/stream_types.h"

namespace {

bool TakesVolHeader(uint32_t type) {
  return type == STREAM_TYPE_MPEG4 || type == STREAM_TYPE_DIVX5 || type == STREAM_TYPE_DIVX ||
         type == STREAM_TYPE_XVID || type == STREAM_TYPE_MP4V || type == STREAM_TYPE_DXMF;
}

void Deliver(ByteSpan config, uint8_t* buffer, uint32_t* length, uint32_t capacity) {
  *length = static_cast<uint32_t>(config.size());
  const size_t count = std::min<size_t>(config.size(), capacity);
  if (count) std::memcpy(buffer, config.data(), count);
}

/// Position of a start code that leaves a byte behind it; kNotFound.
ptrdiff_t FindHeader(ByteSpan frame, uint8_t code, ptrdiff_t from) {
  return FindStartCode(frame, code, from, static_cast<ptrdiff_t>(frame.size()) - 4);
}

}  // namespace

unsigned char ConfigReader::GetVideoSpecificInfo(int stream, uint8_t* buffer, uint32_t* length, uint32_t capacity) {
  if (m_Movie.m_nVideoStrfSize == 0) return 1;
  AVI_LOGV("GetVideoSpecificInfo EncodingType : %ld", static_cast<long>(m_Movie.m_nVideoType));
  if (m_Movie.m_nVideoStrfSize > kBitmapHeaderBytes) {
    Deliver({m_Movie.m_pVideoStrf.get() + kBitmapHeaderBytes, m_Movie.m_nVideoStrfSize - kBitmapHeaderBytes}, buffer,
            length, capacity);
    return 1;
  }
  *length = 0;
  const SAVIStream* record = m_Movie.streams.At(stream);
  if (!m_Movie.IsIndexed() || !record || !TakesVolHeader(record->nStreamType)) return 1;
  return ConfigFromFirstFrame(record, buffer, length, capacity);
}

unsigned char ConfigReader::ConfigFromFirstFrame(const SAVIStream* stream, uint8_t* buffer, uint32_t* length,
                                                 uint32_t capacity) {
  const SIndexEntry* first = IndexEntry(stream, 0);
  if (!first) return 1;
  const uint32_t size =
      static_cast<uint32_t>(std::min<uint64_t>(ChunkSize(*first), m_File.Rest(first->qwOffset, AVI_MAX_FIRST_FRAME)));
  MallocPtr<uint8_t> data = AllocZeroed<uint8_t>(size);
  if (!data) {
    AVI_LOGE("[AVI] temp_buffer allocate Error -> GetVideoSpecificInfo");
    return 0;
  }
  m_File.Seek(first->qwOffset);
  const int nRead = m_File.Read(data.get(), size);
  if (nRead < 0) {
    AVI_LOGE("GetVideoSpecificInfo: First frame read ERROR!");
    return 1;
  }
  const ByteSpan frame{data.get(), static_cast<size_t>(nRead)};

  // Everything in front of the first picture, whatever precedes the VOL included.
  const ptrdiff_t vol = FindHeader(frame, kVolStartCode, 0);
  const ptrdiff_t vop = FindHeader(frame, kVopStartCode, std::max<ptrdiff_t>(vol, 0));
  if (vol != kNotFound) {
    Deliver(vop != kNotFound ? frame.first(static_cast<size_t>(vop)) : frame, buffer, length, capacity);
    return 1;
  }
  if (vop == kNotFound) return 1;
  const uint32_t resolution = GuessTimeIncrementResolution(frame, static_cast<size_t>(vop));
  if (resolution == 0) return 1;
  const auto made = MakeVolHeader(resolution, StrfU32(stream, kBitmapWidth), StrfU32(stream, kBitmapHeight));
  Deliver(made, buffer, length, capacity);
  return 1;
}

unsigned char ConfigReader::GetCodecSpecificInfo(int stream, uint8_t* buffer, uint32_t* length, uint32_t capacity) {
  if (!m_Movie.IsIndexed()) {
    *length = 0;
    return 0;
  }
  if (m_Movie.streams.GetStreamType(stream) != STREAM_TYPE_H264) return 1;
  const SIndexEntry* first = IndexEntry(m_Movie.streams.At(stream), 0);
  // The flag in the size is left in: a first chunk that is no key frame is searched in full.
  const uint32_t size = std::min({first ? first->dwSize : 0, AVI_CONFIG_SCRATCH, capacity});
  *length = 0;
  if (!first) return 1;
  m_File.Seek(first->qwOffset);
  std::memset(buffer, 0, size);
  const int nRead = m_File.Read(buffer, size);
  if (nRead < 0) {
    AVI_LOGE("GetVideoSpecificInfo: First frame read ERROR!");
    return 0;
  }
  *length = static_cast<uint32_t>(nRead);
  // An IDR slice needs a byte behind its header to count.
  const uint8_t* end = buffer + std::max(nRead - 1, 0);
  const uint8_t* slice =
      std::search(static_cast<const uint8_t*>(buffer), end, std::begin(kIdrSlice), std::end(kIdrSlice));
  if (slice != end) *length = static_cast<uint32_t>(slice - buffer);
  return 1;
}
