#ifndef ZU_AVIFILE_MOVIE_H_
#define ZU_AVIFILE_MOVIE_H_

#include <cstdint>

#include "avifile/chunk_tree.h"
#include "avifile/stream_table.h"
#include "base/c_heap.h"

/// m_iIndexType: how the chunks of the streams are found.
enum : uint32_t {
  IDXTYPE_NONE = 0,  ///< by scanning "movi"
  IDXTYPE_OLD = 1,   ///< by the legacy index, "idx1"
  IDXTYPE_NEW = 2,   ///< by the OpenDML indexes, "indx"
};

/// What a walk has found in a file. Owns the chunk tree, the streams and the last video format. A walk fills it;
/// readers move the streams' cursors and learn what only data tell: chunk ids, VBR marks, the play time of a movie
/// without video. Made anew for each file, so that nothing of an earlier one is left.
struct SMovie {
  SMovie() = default;
  SMovie(const SMovie&) = delete;
  SMovie& operator=(const SMovie&) = delete;
  ~SMovie();

  bool IsIndexed() const { return m_iIndexType != IDXTYPE_NONE; }

  ChunkTree tree;
  StreamTable streams;                 // its records point into the tree
  const SRIFFNode* m_pMovi = nullptr;  ///< the first "movi" list, in the tree or an orphan of it
  uint32_t m_iIndexType = IDXTYPE_NONE;
  bool m_bIdxJunk = false;  ///< the legacy index has entries of foreign chunks

  uint32_t dwPlayTime = 0;  ///< milliseconds
  uint32_t m_dwMicroSecPerFrame = 0;

  uint32_t m_nVideoType = 0;        ///< STREAM_TYPE_... of the last video format parsed, whatever its stream
  MallocPtr<uint8_t> m_pVideoStrf;  ///< a copy of that format
  uint32_t m_nVideoStrfSize = 0;    ///< its bytes; 0: none
  bool m_bSubtitle = false;
  bool m_bAlphaSubtitle = false;
  const char* m_pSubtitleName = nullptr;  ///< the data of a strn node
};

#endif  // ZU_AVIFILE_MOVIE_H_
