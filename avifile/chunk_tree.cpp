#define LOG_TAG "AVIFileParser"
#include "avifile/chunk_tree.h"

#include "base/bytes.h"
#include "base/c_heap.h"

ChunkTree::~ChunkTree() {
  DeleteSRIFFNode(m_pRootNode);
  while (SRIFFNode* orphan = m_pOrphans) {
    m_pOrphans = orphan->pNextOrphan;
    DeleteSRIFFNode(orphan);
  }
}

SRIFFNode* ChunkTree::NewSRIFFNode(const SRIFF& riff, const FileView& file) {
  if (!CountStep()) return nullptr;
  MallocPtr<SRIFFNode> node = AllocZeroed<SRIFFNode>(1);
  if (!node) return nullptr;
  node->sRiff = riff;
  node->llOffset = file.Tell();
  return node.release();  // linked into the tree, or among the orphans
}

bool ChunkTree::Link(SRIFFNode* parent, SRIFFNode* prev, SRIFFNode* node) {
  if (!parent && !m_pRootNode) {
    m_pRootNode = node;
    return node && node->sRiff.dwFourCC == FourCC("RIFF");
  }
  if (parent && !parent->pChild) {
    parent->pChild = node;
  } else if (prev && !prev->pNext) {
    prev->pNext = node;
  } else {
    if (m_Lines.Take(ELine::kNoPlace)) AVI_LOGE("ERROR! pParent->pChild, pNodePrev->pNext is not valid");
    if (node) Orphan(node);
  }
  return true;
}

void ChunkTree::Orphan(SRIFFNode* node) {
  node->pNextOrphan = m_pOrphans;
  m_pOrphans = node;
}

void ChunkTree::DeleteSRIFFNode(SRIFFNode* node) {
  while (node) {
    SRIFFNode* next = node->pNext;
    DeleteSRIFFNode(node->pChild);
    const uint32_t fourCC = node->sRiff.dwFourCC;
    if (fourCC != FourCC("idx1") && fourCC != FourCC("indx")) std::free(node->pData);  // a stream owns its index
    std::free(node);
    node = next;
  }
}
