#define LOG_TAG "AVIFileParser"
#include <limits>

#include "avifile/chunk_walker.h"
#include "avifile/old_index_reader.h"
#include "base/bytes.h"
#include "base/log.h"

struct ChunkWalker::SChunkHandler {
  uint32_t dwFourCC;
  void (ChunkWalker::*pHandle)(SRIFFNode* node, uint32_t size);
  bool bIndex;  // left unparsed when the caller wants no indexes
};

int ChunkWalker::ParseChunk(SRIFFNode* node, uint32_t size) {
  static constexpr SChunkHandler kHandlers[] = {
      {FourCC("avih"), &ChunkWalker::HandleMainHeader, false},
      {FourCC("strh"), &ChunkWalker::HandleStreamHeader, false},
      {FourCC("strf"), &ChunkWalker::HandleStreamFormat, false},
      {FourCC("strd"), &ChunkWalker::HandleRawChunk, false},
      {FourCC("strn"), &ChunkWalker::HandleRawChunk, false},
      {FourCC("idx1"), &ChunkWalker::HandleOldIndex, true},
      {FourCC("indx"), &ChunkWalker::HandleNewIndex, true},
      {FourCC("JUNK"), &ChunkWalker::HandleJunk, false},
  };
  const StreamTable& streams = m_Movie.streams;
  if (streams.Current() >= streams.DeclaredCount()) {
    AVI_LOGW("ParseChunk : ERROR! m_iCurrStreamIdx(%d), m_iStreamNum(%d)", streams.Current(), streams.DeclaredCount());
    return 0;
  }
  for (const SChunkHandler& handler : kHandlers) {
    if (handler.dwFourCC != node->sRiff.dwFourCC) continue;
    // What a handler makes of its chunk never ends the walk: the file is judged by its stream count at the end.
    if (!handler.bIndex || !m_bSkipIndex) (this->*handler.pHandle)(node, size);
    return 1;
  }
  if (m_Lines.Take(ELine::kNotParsed)) {
    AVI_LOGW("SKIP::ParseChunk() don't parse(%.4s)length(%lu)", reinterpret_cast<const char*>(&node->sRiff.dwFourCC),
             static_cast<unsigned long>(size));
  }
  return 0;
}

void ChunkWalker::HandleOldIndex(SRIFFNode* node, uint32_t size) {
  if (!m_Movie.IsIndexed() && node->llOffset > std::numeric_limits<uint32_t>::max()) {
    AVI_LOGE("ERROR! ParseChunk() 'idx1' not valid");
    return;
  }
  OldIndexReader(m_File, m_Movie).ParseChunkOldIdx(static_cast<uint32_t>(node->llOffset), size);
}

void ChunkWalker::HandleNewIndex(SRIFFNode* node, uint32_t size) {
  SAVIStream* stream = m_Movie.streams.CurrentStream();
  if (!stream || m_bNewIdxFailed || m_Movie.m_iIndexType == IDXTYPE_OLD) return;
  if (m_Movie.streams.HasSharedEntries()) {
    // A truncated movi took back a legacy index. Its streams share one table, so that they go together.
    m_Movie.streams.FreeIndexes();
  }
  FreeIndex(stream->pIndex);  // of an earlier index chunk in the same list
  stream->pIndex = m_OpenDml.ParseChunkNewIdx(node->llOffset, size, nullptr);
  node->pData = stream->pIndex;
  if (!stream->pIndex) {
    AVI_LOGE("[AVI] Error -> New Index parsing error. Index type set to NONE");
    m_Movie.m_iIndexType = IDXTYPE_NONE;
    m_bNewIdxFailed = true;
    return;
  }
  m_Movie.m_iIndexType = IDXTYPE_NEW;
  AVI_LOGV("CAVIFileParser::ParseChunk m_iIndexType = IDXTYPE_NEW ");
}
