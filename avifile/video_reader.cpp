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

/// Whether some writers leave frames of this type that have to be mended.
bool IsMended(uint32_t streamType) {
  switch (streamType) {
    case STREAM_TYPE_H264:
    case STREAM_TYPE_DIVX5:
    case STREAM_TYPE_DIVX:
    case STREAM_TYPE_DXMF:
      return true;
    default:
      return false;
  }
}

/// Moves the cursor to the key frame at or behind it; where none is left it stays.
void SkipToKeyFrame(SAVIStream* record) {
  for (uint32_t i = record->dwCurrIdx; const SIndexEntry* entry = IndexEntry(record, i); ++i) {
    if (!IsKeyFrame(*entry)) continue;
    record->dwCurrIdx = i;
    return;
  }
}

}  // namespace

inline int VideoReader::ReadFrame(int stream, SAVIStream* record, bool keyOnly, SChunkRead* read) {
  if (keyOnly && m_Movie.IsIndexed()) SkipToKeyFrame(record);
  read->nTimeStamp = IndexTime(record, record->dwCurrIdx);
  return m_Chunks.Read(stream, record, read);
}

int VideoReader::GetNextVideoData(int stream, bool keyOnly, SChunkRead* read) {
  read->nRead = 0;
  SAVIStream* record = m_Movie.streams.At(stream);
  if (!record) return read->End();
  return IsMended(record->nStreamType) ? ReadMended(stream, record, keyOnly, read)
                                       : ReadFrame(stream, record, keyOnly, read);
}

int VideoReader::ReadMended(int stream, SAVIStream* record, bool keyOnly, SChunkRead* read) {
  const int status = ReadFrame(stream, record, keyOnly, read);
  if (read->nRead == 0) return status;
  if (record->nStreamType == STREAM_TYPE_H264) {
    PutStartCodes(read);
    return status;
  }
  return CanHaveDamagedVol(record) ? RemoveDamagedVol(stream, record, keyOnly, status, read) : status;
}

void VideoReader::PutStartCodes(SChunkRead* read) {
  if (LengthsToStartCodes(reinterpret_cast<uint8_t*>(read->buf), read->nRead)) return;
  AVI_LOGE("CheckAVCStartCode error, piRead=%ld", static_cast<long>(read->nRead));
  read->nRead = 0;
}

int VideoReader::RemoveDamagedVol(int stream, SAVIStream* record, bool keyOnly, int status, SChunkRead* read) {
  uint8_t* data = reinterpret_cast<uint8_t*>(read->buf);
  const std::span<uint8_t> frame{data, read->nRead};
  const ptrdiff_t vol = FindDamagedVol(frame);
  if (vol == kNotFound) return status;
  AVI_LOGE("VOL Header Corrupted!! Remove VOL header");
  const ptrdiff_t vop = FindStartCode(frame, kVopStartCode, vol, static_cast<ptrdiff_t>(frame.size()) - 4);
  if (vop == kNotFound) return ReadFrame(stream, record, keyOnly, read);
  read->nRead -= static_cast<uint32_t>(vop);
  std::memmove(data, data + vop, read->nRead);
  return status;
}

bool VideoReader::CanHaveDamagedVol(const SAVIStream* record) const {
  if (m_Movie.m_iIndexType != IDXTYPE_OLD || record->dwCurrIdx == 0) return false;
  const SIndexEntry* justRead = IndexEntry(record, record->dwCurrIdx - 1);
  return justRead && IsKeyFrame(*justRead);
}

int VideoReader::GetFirstVideoData(int stream, SChunkRead* read) {
  read->nRead = 0;
  SAVIStream* record = m_Movie.streams.At(stream);
  if (!record) return read->End();
  if (!m_Movie.IsIndexed()) {
    if (!m_Movie.m_pMovi) return AVI_ERROR;
    if (m_Scanner.PlaceCursor(stream, record) != AVI_OK) return AVI_ERROR;
  }
  const int status = GetNextVideoData(stream, true, read);
  const ByteSpan frame{reinterpret_cast<const uint8_t*>(read->buf), read->nRead};
  const bool intra = record->nStreamType == STREAM_TYPE_THEORA ? IsTheoraIntra(frame)
                     : record->nStreamType == STREAM_TYPE_H263 ? IsH263Intra(frame)
                                                               : true;
  if (!intra) read->nRead = 0;
  return status;
}
