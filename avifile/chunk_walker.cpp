#define LOG_TAG "AVIFileParser"
#include "avifile/chunk_walker.h"

#include <algorithm>
#include <iterator>

#include "avifile/riff_header.h"
#include "base/bytes.h"
#include "base/checked_math.h"

namespace {

// What a search behind a damaged size accepts as the start of something known.
constexpr uint32_t kKnownFourCCs[] = {
    FourCC("AVI "), FourCC("rec "), FourCC("RIFF"), FourCC("JUNK"), FourCC("LIST"), FourCC("AVIX"),
    FourCC("strd"), FourCC("strf"), FourCC("avih"), FourCC("strh"), FourCC("movi"), FourCC("odml"),
    FourCC("hdrl"), FourCC("strl"), FourCC("indx"), FourCC("strn"),
};

bool IsKnown(uint32_t fourCC) {
  return std::find(std::begin(kKnownFourCCs), std::end(kKnownFourCCs), fourCC) != std::end(kKnownFourCCs);
}

}  // namespace

int ChunkWalker::ParseChild(SRIFFNode* parent, long length) {
  const bool openEnded = length == 0 && m_File.IsStreaming();
  if (length == 0 && !openEnded) return 0;
  if (m_nListDepth > AVI_MAX_LIST_DEPTH) return 0;

  int64_t sum = 0;
  SRIFFNode* prev = nullptr;
  while (openEnded || sum < length) {
    SRIFF riff;
    const int nRead = m_File.ReadHeader(&riff);
    if (nRead < 0) {
      AVI_LOGE("[AVI] Error -> ParseChild :: nRead(%d)", nRead);
      return 0;
    }
    if (nRead == 0) break;

    SRIFFNode* node = nullptr;
    const EStep step = IsList(riff) ? WalkList(riff, openEnded, &node, &sum) : WalkChunk(riff, &node, &sum);
    if (step == EStep::kFail) return 0;
    if (step == EStep::kDone) return 1;
    if (step == EStep::kNext) continue;
    if (!m_Movie.tree.Link(parent, prev, node)) return 0;
    sum = CheckedAdd<int64_t>(sum, int64_t{riff.dwSize} + 8 + (riff.dwSize & 1));
    prev = node;
  }

  const int streams = CheckedAdd<int>(m_Movie.streams.Current(), 1);
  if (streams > m_Movie.streams.DeclaredCount()) {
    AVI_LOGW("ParseChild: the number of stream(%d) doesn't match dwStreams(%d) in avih", streams,
             m_Movie.streams.DeclaredCount());
    return 0;
  }
  return 1;
}

ChunkWalker::EStep ChunkWalker::WalkList(const SRIFF& riff, bool openEnded, SRIFFNode** node, int64_t* sum) {
  if (riff.dwFourCC == FourCC("RIFF")) {
    // A second main group is stepped over without moving: its size alone normally ends the walk.
    if (riff.dwType == FourCC("AVI ") && m_Movie.streams.IsDeclared()) {
      return m_Movie.tree.CountStep() ? EStep::kLink : FailedList();
    }
    if (openEnded) {
      AVI_LOGI("ParseChild : Streaming service contents-legth 0 case! dwFileSize=%d", static_cast<int>(riff.dwSize));
      m_File.LimitTo(riff.dwSize);
    }
  }
  if (riff.dwSize == 0) {
    if (!m_Movie.tree.CountStep()) return FailedList();
    if (m_Lines.Take(ELine::kEmptyList)) AVI_LOGE("ParseChild LIST ERROR - dwSize is 0... Read next byte");
    m_File.StepBackOverType();
    *sum = CheckedAdd<int64_t>(*sum, 8);
    return EStep::kNext;
  }

  *node = m_Movie.tree.NewSRIFFNode(riff, m_File);
  if (!*node) return FailedList();
  if (riff.dwType == FourCC("movi")) {
    EnterMovi(*node);
    return EStep::kLink;
  }
  if (riff.dwType == FourCC("strl")) m_Movie.streams.EnterNext();
  if (riff.dwSize <= 4) return EStep::kLink;

  ++m_nListDepth;
  const int nRet = ParseChild(*node, long{riff.dwSize} - 4);
  --m_nListDepth;
  if (nRet == 0) {
    AVI_LOGE("[AVI] Error -> ParseChild :: nRet(%d)", nRet);
    m_Movie.tree.Orphan(*node);
    return EStep::kFail;
  }
  return EStep::kLink;
}

void ChunkWalker::EnterMovi(SRIFFNode* node) {
  const int64_t fileLength = m_File.AskLength();
  if (!m_Movie.m_pMovi) m_Movie.m_pMovi = node;
  if (int64_t{node->sRiff.dwSize} > fileLength) {
    m_Movie.m_iIndexType = IDXTYPE_NONE;  // truncated: an index would point beyond the end
    return;
  }
  m_File.Skip(CheckedSub<uint32_t>(node->sRiff.dwSize, 4u));
}

ChunkWalker::EStep ChunkWalker::WalkChunk(const SRIFF& riff, SRIFFNode** node, int64_t* sum) {
  m_File.StepBackOverType();
  if (riff.dwSize == 0) return Resynchronise(sum);

  SRIFF plain = riff;
  plain.dwType = 0;
  *node = m_Movie.tree.NewSRIFFNode(plain, m_File);
  if (!*node) return FailedChunk();
  if (ParseChunk(*node, riff.dwSize)) {
    m_File.Seek(CheckedAdd<long>((*node)->llOffset, riff.dwSize));
  } else {
    m_File.Skip(riff.dwSize);
  }
  if (riff.dwSize & 1) m_File.Skip(1);
  return EStep::kLink;
}

ChunkWalker::EStep ChunkWalker::FailedList() {
  AVI_LOGE("[AVI] Error -> NewSRIFFNode(sRiff)");
  return EStep::kFail;
}

ChunkWalker::EStep ChunkWalker::FailedChunk() {
  AVI_LOGE("[AVI] Error -> NewSRIFFNode(sRiff) : Chunk");
  return EStep::kFail;
}

ChunkWalker::EStep ChunkWalker::Resynchronise(int64_t* sum) {
  if (!m_Movie.tree.CountStep()) return FailedChunk();
  if (m_Lines.Take(ELine::kEmptyChunk)) {
    AVI_LOGE("ParseChunk ERROR - dwSize is 0... find next chunk dwSumOfSize %lld", static_cast<long long>(*sum));
  }
  const long start = m_File.Position();
  for (int i = 0; i <= AVI_RESYNC_LIMIT; ++i) {
    uint8_t raw[kRiffHeaderBytes] = {};
    const int nRead = m_File.Read(raw, kRiffHeaderBytes);
    if (nRead < 0 && m_Lines.Take(ELine::kFailedRead)) {
      AVI_LOGW("[AVI] sRiff fread fail -> ParseChunk :: nRead(%d)", nRead);
    }
    if (nRead >= 4 && IsKnown(LoadLe32(raw))) {
      if (m_Lines.Take(ELine::kFound)) AVI_LOGV("Found new FOURCC with next offset %d", i);
      m_File.Seek(start + i);
      // Counted twice on purpose: it only makes the walk end earlier.
      *sum = CheckedAdd<int64_t>(*sum, 8 + 2 * i);
      return EStep::kNext;
    }
    if (i < AVI_RESYNC_LIMIT) m_File.Seek(CheckedAdd<long>(start, i + 1));
  }
  return EStep::kDone;
}
