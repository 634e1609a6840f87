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

int VideoReader::GetNextVideoData(int stream, bool keyOnly, SChunkRead* read) {
  read->nRead = 0;
  SAVIStream* record = m_Movie.streams.At(stream);
  if (!record) return read->End();
  return keyOnly && m_Movie.IsIndexed() ? ReadKeyFrame(stream, record, read) : ReadMended(stream, record, false, read);
}

int VideoReader::ReadKeyFrame(int stream, SAVIStream* record, SChunkRead* read) {
  SkipToKeyFrame(record);
  return ReadMended(stream, record, true, read);
}

[[gnu::always_inline]] inline int VideoReader::ReadMended(int stream, SAVIStream* record, bool keyOnly,
                                                          SChunkRead* read) {
  switch (record->nStreamType) {
    case STREAM_TYPE_H264:
      return ReadH264Frame(stream, record, read);
    case STREAM_TYPE_DIVX5:
    case STREAM_TYPE_DIVX:
    case STREAM_TYPE_DXMF:
      return CanHaveDamagedVol(record) ? ReadWithoutDamagedVol(stream, record, keyOnly, read)
                                       : ReadFrame(stream, record, read);
    default:
      return ReadFrame(stream, record, read);
  }
}

inline int VideoReader::ReadFrame(int stream, SAVIStream* record, SChunkRead* read) {
  read->nTimeStamp = IndexTime(record, record->dwCurrIdx);
  return m_Chunks.Read(stream, record, read);
}

int VideoReader::ReadH264Frame(int stream, SAVIStream* record, SChunkRead* read) {
  const int status = ReadFrame(stream, record, read);
  if (read->nRead == 0 || LengthsToStartCodes(reinterpret_cast<uint8_t*>(read->buf), read->nRead)) return status;
  AVI_LOGE("CheckAVCStartCode error, piRead=%ld", static_cast<long>(read->nRead));
  read->nRead = 0;
  return status;
}

inline bool VideoReader::CanHaveDamagedVol(const SAVIStream* record) const {
  const SIndexEntry* next = IndexEntry(record, record->dwCurrIdx);
  return next && IsKeyFrame(*next) && m_Movie.m_iIndexType == IDXTYPE_OLD;
}

int VideoReader::ReadWithoutDamagedVol(int stream, SAVIStream* record, bool keyOnly, SChunkRead* read) {
  const int status = ReadFrame(stream, record, read);
  uint8_t* const data = reinterpret_cast<uint8_t*>(read->buf);
  const std::span<uint8_t> frame{data, read->nRead};
  const ptrdiff_t vol = FindDamagedVol(frame);
  if (vol == kNotFound) return status;
  AVI_LOGE("VOL Header Corrupted!! Remove VOL header");
  const ptrdiff_t vop = FindStartCode(frame, kVopStartCode, vol, static_cast<ptrdiff_t>(frame.size()) - 4);
  if (vop == kNotFound) {  // nothing but the header is there
    if (keyOnly) SkipToKeyFrame(record);
    return ReadFrame(stream, record, read);
  }
  read->nRead -= static_cast<uint32_t>(vop);
  std::memmove(data, data + vop, read->nRead);
  return status;
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
