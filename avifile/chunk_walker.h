#ifndef ZU_AVIFILE_CHUNK_WALKER_H_
#define ZU_AVIFILE_CHUNK_WALKER_H_

#include <cstdint>

#include "avifile/file_view.h"
#include "avifile/header_reader.h"
#include "avifile/movie.h"
#include "avifile/open_dml_index_reader.h"
#include "base/limits.h"
#include "base/log.h"

/// One walk over a file's chunks, which fills a movie that is still empty. Owns what one walk must remember: how deep
/// in lists it is, and whether an OpenDML index has failed. Relies on the file's position: each step leaves it at the
/// next header.
class ChunkWalker {
 public:
  /// @param bSkipIndex  1 leaves indexes unparsed.
  ChunkWalker(FileView& file, SMovie& movie, unsigned char bSkipIndex)
      : m_File(file), m_Movie(movie), m_bSkipIndex(bSkipIndex == 1), m_Headers(file, movie), m_OpenDml(file, movie) {}

  /// Walks `length` bytes of children of `parent` (null: the file) from the file's position; 0 bytes of a streaming
  /// source: to its end. @return 1 to go on, 0 when the file is refused.
  int ParseChild(SRIFFNode* parent, long length);

  /// Hands the chunk of `node`, `size` bytes at its position, to its handler (chunk_dispatch.cpp).
  /// @return 1 when it was consumed or deliberately skipped, 0 when the walk has to step over it.
  int ParseChunk(SRIFFNode* node, uint32_t size);

 private:
  enum class EStep { kNext, kLink, kDone, kFail };
  EStep WalkList(const SRIFF& riff, bool openEnded, SRIFFNode** node, int64_t* sum);
  EStep WalkChunk(const SRIFF& riff, SRIFFNode** node, int64_t* sum);
  void EnterMovi(SRIFFNode* node);
  EStep Resynchronise(int64_t* sum);
  /// How a walk ends that can make no node, or has made as many steps without one as it may.
  static EStep FailedList();
  static EStep FailedChunk();

  struct SChunkHandler;
  void HandleMainHeader(SRIFFNode* node, uint32_t size) { m_Headers.ParseChunkAviHdr(node, size); }
  void HandleStreamHeader(SRIFFNode* node, uint32_t size) { m_Headers.ParseChunkStrHdr(node, size); }
  void HandleStreamFormat(SRIFFNode* node, uint32_t size) { m_Headers.ParseChunkStrFmt(node, size); }
  void HandleRawChunk(SRIFFNode* node, uint32_t size) { m_Headers.KeepRawChunk(node, size); }
  void HandleOldIndex(SRIFFNode* node, uint32_t size);
  void HandleNewIndex(SRIFFNode* node, uint32_t size);
  void HandleJunk(SRIFFNode* /*node*/, uint32_t /*size*/) {}

  FileView& m_File;
  SMovie& m_Movie;
  const bool m_bSkipIndex;
  HeaderReader m_Headers;
  OpenDmlIndexReader m_OpenDml;
  int m_nListDepth = 0;
  // Of these a damaged file may give one per chunk.
  enum class ELine { kEmptyList, kEmptyChunk, kNotParsed, kFound, kFailedRead, kCount };
  LineLimits<ELine, AVI_LINES_PER_WALK> m_Lines;
  bool m_bNewIdxFailed = false;  // for good: the rest of the file is indexed by "idx1" or not at all
};

#endif  // ZU_AVIFILE_CHUNK_WALKER_H_
