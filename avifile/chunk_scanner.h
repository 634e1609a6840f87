#ifndef ZU_AVIFILE_CHUNK_SCANNER_H_
#define ZU_AVIFILE_CHUNK_SCANNER_H_

#include <cstdint>

#include "avifile/file_view.h"
#include "avifile/movie.h"

/// Finds a stream's chunks without an index: header by header through "movi", entering lists and further RIFF groups.
/// Owns nothing. Scanning learns the FourCC of each stream's chunks, which the stream's record keeps.
class ChunkScanner {
 public:
  ChunkScanner(FileView& file, const SMovie& movie) : m_File(file), m_Movie(movie) {}

  // @return AVI_OK, or AVI_ERROR, AVI_EAGAIN, AVI_IO_ERROR, AVI_TOO_MANY_EMPTY_CHUNKS.

  /// Position of the header of the stream's first chunk. A target that is not 0 stays as it is; AVI_END_MARK: none.
  int FindFirstData(int stream, uint32_t* pOffset);
  /// The same by stream number alone; 0: none.
  int FindFirstTrackData(int stream, long* pOffset);
  /// Position of the header of the stream's next chunk after the one at the cursor; else the status, as a position.
  long FindNextData(int stream);
  /// Puts the cursor of `record`, which is `stream`'s, on its first chunk unless it is placed already.
  int PlaceCursor(int stream, SAVIStream* record);

 private:
  void LearnChunkId(const SRIFF& riff);
  void SkipChunk(const SRIFF& riff);

  FileView& m_File;
  const SMovie& m_Movie;
};

#endif  // ZU_AVIFILE_CHUNK_SCANNER_H_
