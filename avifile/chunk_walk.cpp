#define LOG_TAG "AVIFileParser"
#include <algorithm>
#include <iterator>

#include "avifile/avi_file_parser.h"
#include "avifile/riff_header.h"
#include "base/bytes.h"
#include "base/checked_math.h"
#include "base/log.h"

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

int CAVIFileParser::Parse(unsigned char bSkipIndex) {
  Destroy();
  const long start = m_pReader->AVI_ftell();
  const long end = m_pReader->AVI_FileLength_hdl();
  m_llFileSize = end;
  const int result = ParseChild(nullptr, start, CheckedSub<long>(end, start), bSkipIndex);
  const int streams = CheckedAdd<int>(m_iCurrStreamIdx, 1);
  if (streams != m_iStreamNum) {
    AVI_LOGW("Parse: the number of stream(%d) doesn't match dwStreams(%d) in avih", streams, m_iStreamNum);
    return 0;
  }
  m_pReader->AVI_fseek(start, 0);
  const bool streamsMissing = m_iStreamNum > 0 && !m_aStream;
  return streamsMissing ? 0 : result;
}

int CAVIFileParser::ParseChild(SRIFFNode* parent, long /*start*/, long length, unsigned char bSkipIndex) {
  const bool openEnded = length == 0 && m_pReader->AVI_IsStreamingSource() != 0;
  if (length == 0 && !openEnded) return 0;
  if (m_nListDepth > AVI_MAX_LIST_DEPTH) return 0;

  int64_t sum = 0;
  SRIFFNode* prev = nullptr;
  while (openEnded || sum < length) {
    SRIFF riff;
    const int nRead = ReadRiffHeader(m_pReader, &riff);
    if (nRead < 0) {
      AVI_LOGE("[AVI] Error -> ParseChild :: nRead(%d)", nRead);
      return 0;
    }
    if (nRead == 0) break;

    SRIFFNode* node = nullptr;
    const EStep step =
        IsList(riff) ? WalkList(riff, openEnded, bSkipIndex, &node, &sum) : WalkChunk(riff, bSkipIndex, &node, &sum);
    if (step == EStep::kFail) return 0;
    if (step == EStep::kDone) return 1;
    if (step == EStep::kNext) continue;
    if (!Link(parent, prev, node)) return 0;
    sum = CheckedAdd<int64_t>(sum, int64_t{riff.dwSize} + 8 + (riff.dwSize & 1));
    prev = node;
  }

  const int streams = CheckedAdd<int>(m_iCurrStreamIdx, 1);
  if (streams > m_iStreamNum) {
    AVI_LOGW("ParseChild: the number of stream(%d) doesn't match dwStreams(%d) in avih", streams, m_iStreamNum);
    return 0;
  }
  return 1;
}

CAVIFileParser::EStep CAVIFileParser::WalkList(const SRIFF& riff, bool openEnded, unsigned char bSkipIndex,
                                               SRIFFNode** node, int64_t* sum) {
  if (riff.dwFourCC == FourCC("RIFF")) {
    // A second main group is stepped over without moving: its size alone normally ends the walk.
    if (riff.dwType == FourCC("AVI ") && m_aStream) return EStep::kLink;
    if (openEnded) {
      AVI_LOGI("ParseChild : Streaming service contents-legth 0 case! dwFileSize=%d", static_cast<int>(riff.dwSize));
      m_llFileSize = riff.dwSize;
      m_pReader->AVI_FileGroupSize_set(riff.dwSize);
    }
  }
  if (riff.dwSize == 0) {
    AVI_LOGE("ParseChild LIST ERROR - dwSize is 0... Read next byte");
    m_pReader->AVI_fseek(-4, 1);
    *sum = CheckedAdd<int64_t>(*sum, 8);
    return EStep::kNext;
  }

  *node = NewSRIFFNode(riff);
  if (!*node) {
    AVI_LOGE("[AVI] Error -> NewSRIFFNode(sRiff)");
    return EStep::kFail;
  }
  if (riff.dwType == FourCC("movi")) {
    EnterMovi(*node);
    return EStep::kLink;
  }
  if (riff.dwType == FourCC("strl")) m_iCurrStreamIdx = CheckedAdd<int>(m_iCurrStreamIdx, 1);
  if (riff.dwSize <= 4) return EStep::kLink;

  ++m_nListDepth;
  const int nRet = ParseChild(*node, (*node)->llOffset, long{riff.dwSize} - 4, bSkipIndex);
  --m_nListDepth;
  if (nRet == 0) {
    AVI_LOGE("[AVI] Error -> ParseChild :: nRet(%d)", nRet);
    Orphan(*node);
    return EStep::kFail;
  }
  return EStep::kLink;
}

void CAVIFileParser::EnterMovi(SRIFFNode* node) {
  const int64_t fileLength = m_pReader->AVI_FileLength_hdl();
  (m_pMovi ? m_pMoviX : m_pMovi) = node;
  if (int64_t{node->sRiff.dwSize} > fileLength) {
    m_iIndexType = IDXTYPE_NONE;  // truncated: an index would point beyond the end
    return;
  }
  m_pReader->AVI_fseek(CheckedSub<uint32_t>(node->sRiff.dwSize, 4u), 1);
}

CAVIFileParser::EStep CAVIFileParser::WalkChunk(const SRIFF& riff, unsigned char bSkipIndex, SRIFFNode** node,
                                                int64_t* sum) {
  m_pReader->AVI_fseek(-4, 1);
  if (riff.dwSize == 0) return Resynchronise(sum);

  SRIFF plain = riff;
  plain.dwType = 0;
  *node = NewSRIFFNode(plain);
  if (!*node) {
    AVI_LOGE("[AVI] Error -> NewSRIFFNode(sRiff) : Chunk");
    return EStep::kFail;
  }
  if (ParseChunk(*node, (*node)->llOffset, riff.dwSize, bSkipIndex)) {
    m_pReader->AVI_fseek(CheckedAdd<long>((*node)->llOffset, riff.dwSize), 0);
  } else {
    m_pReader->AVI_fseek(riff.dwSize, 1);
  }
  if (riff.dwSize & 1) m_pReader->AVI_fseek(1, 1);
  return EStep::kLink;
}

CAVIFileParser::EStep CAVIFileParser::Resynchronise(int64_t* sum) {
  AVI_LOGE("ParseChunk ERROR - dwSize is 0... find next chunk dwSumOfSize %lld", static_cast<long long>(*sum));
  const long start = m_pReader->Position();
  for (int i = 0; i <= AVI_RESYNC_LIMIT; ++i) {
    uint8_t raw[kRiffHeaderBytes] = {};
    const int nRead = m_pReader->AVI_fread(raw, kRiffHeaderBytes, 1);
    if (nRead < 0) AVI_LOGW("[AVI] sRiff fread fail -> ParseChunk :: nRead(%d)", nRead);
    if (nRead >= 4 && IsKnown(LoadLe32(raw))) {
      AVI_LOGV("Found new FOURCC with next offset %d", i);
      m_pReader->AVI_fseek(start + i, 0);
      // Counted twice on purpose: it only makes the walk end earlier.
      *sum = CheckedAdd<int64_t>(*sum, 8 + 2 * i);
      return EStep::kNext;
    }
    if (i < AVI_RESYNC_LIMIT) m_pReader->AVI_fseek(CheckedAdd<long>(start, i + 1), 0);
  }
  return EStep::kDone;
}

bool CAVIFileParser::Link(SRIFFNode* parent, SRIFFNode* prev, SRIFFNode* node) {
  if (!parent && !m_pRootNode) {
    m_pRootNode = node;
    return node && node->sRiff.dwFourCC == FourCC("RIFF");
  }
  if (parent && !parent->pChild) {
    parent->pChild = node;
  } else if (prev && !prev->pNext) {
    prev->pNext = node;
  } else {
    AVI_LOGE("ERROR! pParent->pChild, pNodePrev->pNext is not valid");
    if (node) Orphan(node);
  }
  return true;
}
