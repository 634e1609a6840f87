#define LOG_TAG "AVIFileParser"
#include "avifile/video_reader.h"

#include <cstring>
#include <span>

#include "avifile/sample_time.h"
#include "avifile/video_bitstream.h"
#include "base/bytes.h"
#include "base/log.h"
#include "zu_parser_avi/stream_types.h"

namespace {

/// Moves the cursor to the key frame at or behind it; where none is left it stays.
void SkipToKeyFrame(SAVIStream* record) {
  for (uint32_t i = record->dwCurrIdx; const SIndexEntry* entry = IndexEntry(record, i); ++i) {
    if (!IsKeyFrame(*entry)) continue;
    record->dwCurrIdx = i;
    return;
  }
}

}  // namespace

int VideoReader::GetNextVideoData(int stream, bool keyOnly, const SChunkRead& read) {
  *read.piRead = 0;
  SAVIStream* record = m_Movie.streams.At(stream);
  if (!record) return read.End();
  keyOnly = keyOnly && m_Movie.IsIndexed();
  if (keyOnly) SkipToKeyFrame(record);
  *read.piTimeStamp = IndexTime(record, record->dwCurrIdx);
  const int status = m_Chunks.GetNextData(stream, read);
  if (*read.piRead == 0) return status;

  uint8_t* data = reinterpret_cast<uint8_t*>(read.buf);
  if (record->nStreamType == STREAM_TYPE_H264) {
    if (!LengthsToStartCodes(data, *read.piRead)) {
      AVI_LOGE("CheckAVCStartCode error, piRead=%ld", static_cast<long>(*read.piRead));
      *read.piRead = 0;
    }
    return status;
  }
  if (!MayHaveDamagedVol(record)) return status;

  const std::span<uint8_t> frame{data, *read.piRead};
  const ptrdiff_t vol = FindDamagedVol(frame);
  if (vol == kNotFound) return status;
  AVI_LOGE("VOL Header Corrupted!! Remove VOL header");
  const ptrdiff_t vop = FindStartCode(frame, kVopStartCode, vol, static_cast<ptrdiff_t>(frame.size()) - 4);
  if (vop != kNotFound) {
    *read.piRead -= static_cast<unsigned int>(vop);
    std::memmove(data, data + vop, *read.piRead);
    return status;
  }
  if (keyOnly) SkipToKeyFrame(record);
  *read.piTimeStamp = IndexTime(record, record->dwCurrIdx);
  return m_Chunks.GetNextData(stream, read);
}

bool VideoReader::MayHaveDamagedVol(const SAVIStream* record) const {
  const uint32_t type = record->nStreamType;
  if (type != STREAM_TYPE_DIVX5 && type != STREAM_TYPE_DIVX && type != STREAM_TYPE_DXMF) return false;
  if (m_Movie.m_iIndexType != IDXTYPE_OLD || record->dwCurrIdx == 0) return false;
  const SIndexEntry* justRead = IndexEntry(record, record->dwCurrIdx - 1);
  return justRead && IsKeyFrame(*justRead);
}

int VideoReader::GetFirstVideoData(int stream, const SChunkRead& read) {
  *read.piRead = 0;
  SAVIStream* record = m_Movie.streams.At(stream);
  if (!record) return read.End();
  if (!m_Movie.IsIndexed()) {
    if (!m_Movie.m_pMovi) return AVI_ERROR;
    if (m_Scanner.PlaceCursor(stream, record) != AVI_OK) return AVI_ERROR;
  }
  const int status = GetNextVideoData(stream, true, read);
  const ByteSpan frame{reinterpret_cast<const uint8_t*>(read.buf), *read.piRead};
  const bool intra = record->nStreamType == STREAM_TYPE_THEORA ? IsTheoraIntra(frame)
                     : record->nStreamType == STREAM_TYPE_H263 ? IsH263Intra(frame)
                                                               : true;
  if (!intra) *read.piRead = 0;
  return status;
}
