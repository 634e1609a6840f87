#define LOG_TAG "AVIFileParser"
#include <algorithm>
#include <limits>

#include "avifile/avi_file_parser.h"
#include "base/bytes.h"
#include "base/log.h"

struct CAVIFileParser::SChunkHandler {
  uint32_t dwFourCC;
  void (CAVIFileParser::*pHandle)(SRIFFNode* node, long offset, unsigned int size);
  bool bIndex;  // left unparsed when the caller wants no indexes
};

int CAVIFileParser::ParseChunk(SRIFFNode* node, long offset, unsigned int size, unsigned char bSkipIndex) {
  static constexpr SChunkHandler kHandlers[] = {
      {FourCC("avih"), &CAVIFileParser::HandleMainHeader, false},
      {FourCC("strh"), &CAVIFileParser::HandleStreamHeader, false},
      {FourCC("strf"), &CAVIFileParser::HandleStreamFormat, false},
      {FourCC("strd"), &CAVIFileParser::HandleRawChunk, false},
      {FourCC("strn"), &CAVIFileParser::HandleRawChunk, false},
      {FourCC("idx1"), &CAVIFileParser::HandleOldIndex, true},
      {FourCC("indx"), &CAVIFileParser::HandleNewIndex, true},
      {FourCC("JUNK"), &CAVIFileParser::HandleJunk, false},
  };
  if (m_iCurrStreamIdx >= m_iStreamNum) {
    AVI_LOGW("ParseChunk : ERROR! m_iCurrStreamIdx(%d), m_iStreamNum(%d)", m_iCurrStreamIdx, m_iStreamNum);
    return 0;
  }
  for (const SChunkHandler& handler : kHandlers) {
    if (handler.dwFourCC != node->sRiff.dwFourCC) continue;
    // What a handler makes of its chunk never ends the walk: the file is judged by its stream count at the end.
    if (!handler.bIndex || bSkipIndex != 1) (this->*handler.pHandle)(node, offset, size);
    return 1;
  }
  AVI_LOGW("SKIP::ParseChunk() don't parse(%.4s)length(%lu)", reinterpret_cast<const char*>(&node->sRiff.dwFourCC),
           static_cast<unsigned long>(size));
  return 0;
}

void CAVIFileParser::HandleRawChunk(SRIFFNode* node, long offset, unsigned int size) {
  if (size > AVI_MAX_COPY) return;
  const uint64_t room = std::min<uint64_t>(size, RestOfFile(static_cast<uint64_t>(offset), size));
  MallocPtr<uint8_t> data = AllocZeroed<uint8_t>(room);
  if (!data) return;
  const int nRead = m_pReader->AVI_fread(data.get(), static_cast<unsigned int>(room), 1);
  if (nRead < 0) AVI_LOGE("[AVI] Error -> ParseChunk :: nRead(%d)", nRead);
  node->pData = data.release();  // freed with the chunk tree
}

void CAVIFileParser::HandleOldIndex(SRIFFNode* /*node*/, long offset, unsigned int size) {
  if (!IsIndexed() && offset > std::numeric_limits<uint32_t>::max()) {
    AVI_LOGE("ERROR! ParseChunk() 'idx1' not valid");
    return;
  }
  ParseChunkOldIdx(static_cast<unsigned int>(offset), size);
}

void CAVIFileParser::HandleNewIndex(SRIFFNode* node, long offset, unsigned int size) {
  SAVIStream* stream = Stream(m_iCurrStreamIdx);
  if (!stream || m_bNewIdxFailed || m_iIndexType == IDXTYPE_OLD) return;
  if (m_bOldIndexKept) {
    // A truncated movi took back a legacy index. Its streams share one table, so that they go together.
    FreeIndexes();
  }
  FreeIndex(stream->pIndex);  // of an earlier index chunk in the same list
  stream->pIndex = ParseChunkNewIdx(offset, size, nullptr);
  node->pData = stream->pIndex;
  if (!stream->pIndex) {
    AVI_LOGE("[AVI] Error -> New Index parsing error. Index type set to NONE");
    m_iIndexType = IDXTYPE_NONE;
    m_bNewIdxFailed = true;
    return;
  }
  m_iIndexType = IDXTYPE_NEW;
  AVI_LOGV("CAVIFileParser::ParseChunk m_iIndexType = IDXTYPE_NEW ");
}
