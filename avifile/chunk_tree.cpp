#define LOG_TAG "AVIFileParser"
#include "avifile/avi_file_parser.h"
#include "avifile/byte_sums.h"
#include "base/bytes.h"
#include "base/log.h"

void FreeIndex(SIndex* index) {
  if (!index) return;
  if (index->bOwnsEntries) std::free(index->aIdx);
  std::free(index);
}

CAVIFileParser::~CAVIFileParser() { Destroy(); }

int CAVIFileParser::Init(AVISourceReader* reader) {
  Destroy();
  m_pReader = reader;
  m_llFileSize = 0;
  m_bNewIdxFailed = m_bIdxJunk = false;
  dwPlayTime = m_dwMicroSecPerFrame = 0;
  m_bHasAudio = m_bHasVideo = false;
  m_nVideoFrameRate = 0;
  m_dwMp3FrameSize = m_dwMp3BitRate = m_dwAC3BitRate = 0;
  return 1;
}

int CAVIFileParser::Destroy() {
  DeleteSRIFFNode(m_pRootNode);
  m_pRootNode = nullptr;
  while (SRIFFNode* orphan = m_pOrphans) {
    m_pOrphans = orphan->pNextOrphan;
    DeleteSRIFFNode(orphan);
  }
  FreeStreams();
  m_pMovi = m_pMoviX = nullptr;
  m_nNodes = 0;
  m_nListDepth = 0;
  m_iIndexType = IDXTYPE_NONE;
  m_bNewIdxFailed = m_bOldIndexKept = false;
  m_nIndexReadBytes = 0;
  m_abVBR = {};

  std::free(m_pVideoStrf);
  m_pVideoStrf = nullptr;
  m_nVideoStrfSize = m_nVideoType = 0;
  m_bSubtitle = m_bAlphaSubtitle = 0;
  m_pSubtitleName = nullptr;

  std::free(m_pSplitBuf);
  m_pSplitBuf = nullptr;
  m_nSplitBufLen = m_nSplitScanned = 0;
  m_nSplitStart = -1;
  m_bSplitChecked = m_bSplitVideo = false;
  return 1;
}

void CAVIFileParser::FreeStreams() {
  for (int i = 0; i < StreamCount(); ++i) {
    const SIndex* index = m_aStream[i].pIndex;
    if (index && index->aIdx && m_iIndexType != IDXTYPE_OLD) AVI_LOGV("free aIdx - idx[%d]", i);
    FreeIndex(m_aStream[i].pIndex);
    FreeByteSums(m_aStream[i].pSums);
    if (m_StrfData) std::free(m_StrfData[i].pData);
  }
  std::free(m_aStream);
  std::free(m_StrfData);
  m_aStream = nullptr;
  m_StrfData = nullptr;
  m_iStreamNum = 0;
  m_iCurrStreamIdx = -1;
}

SRIFFNode* CAVIFileParser::NewSRIFFNode(const SRIFF& riff) {
  if (m_nNodes >= AVI_MAX_NODES) return nullptr;
  MallocPtr<SRIFFNode> node = AllocZeroed<SRIFFNode>(1);
  if (!node) return nullptr;
  ++m_nNodes;
  node->sRiff = riff;
  node->llOffset = m_pReader->AVI_ftell();
  return node.release();  // linked into the tree, or among the orphans
}

void CAVIFileParser::DeleteSRIFFNode(SRIFFNode* node) {
  while (node) {
    SRIFFNode* next = node->pNext;
    DeleteSRIFFNode(node->pChild);
    const uint32_t fourCC = node->sRiff.dwFourCC;
    if (fourCC != FourCC("idx1") && fourCC != FourCC("indx")) std::free(node->pData);
    std::free(node);
    node = next;
  }
}

void CAVIFileParser::Orphan(SRIFFNode* node) {
  node->pNextOrphan = m_pOrphans;
  m_pOrphans = node;
}

uint64_t CAVIFileParser::RestOfFile(uint64_t offset, uint64_t unknown) const {
  if (m_llFileSize <= 0) return unknown;
  const uint64_t size = static_cast<uint64_t>(m_llFileSize);
  return offset < size ? size - offset : 0;
}
