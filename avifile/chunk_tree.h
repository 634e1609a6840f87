#ifndef ZU_AVIFILE_CHUNK_TREE_H_
#define ZU_AVIFILE_CHUNK_TREE_H_

#include <cstdint>

#include "avifile/file_view.h"
#include "avifile/records.h"
#include "base/limits.h"
#include "base/log.h"

/// The chunks that a walk has met. Owns its nodes, the data that handlers left in them (streams point into it), and the
/// nodes that found no place; frees all when it goes.
class ChunkTree {
 public:
  ChunkTree() = default;
  ChunkTree(const ChunkTree&) = delete;
  ChunkTree& operator=(const ChunkTree&) = delete;
  ~ChunkTree();

  /// A node for the chunk or list whose data begin at `file`'s position. The caller links it or orphans it.
  /// @return null without memory and beyond AVI_MAX_NODES.
  SRIFFNode* NewSRIFFNode(const SRIFF& riff, const FileView& file);
  /// Counts a step of the walk that makes no node, so that an endless source of such steps ends like one of nodes.
  /// @return false beyond AVI_MAX_NODES.
  bool CountStep() { return m_nNodes < AVI_MAX_NODES && ++m_nNodes; }
  /// Puts `node`, which may be null, behind `prev` or as the first child of `parent`; without a parent the first one
  /// becomes the root. One that has no place is orphaned. @return false when the root is no "RIFF".
  bool Link(SRIFFNode* parent, SRIFFNode* prev, SRIFFNode* node);
  /// Keeps a node without a place: streams may point into it and what is below it.
  void Orphan(SRIFFNode* node);

  const SRIFFNode* Root() const { return m_pRootNode; }

 private:
  static void DeleteSRIFFNode(SRIFFNode* node);

  SRIFFNode* m_pRootNode = nullptr;
  SRIFFNode* m_pOrphans = nullptr;
  uint32_t m_nNodes = 0;  // and steps without one
  enum class ELine { kNoPlace, kCount };
  LineLimits<ELine, AVI_LINES_PER_WALK> m_Lines;
};

#endif  // ZU_AVIFILE_CHUNK_TREE_H_
