#ifndef ZU_AVIFILE_VIDEO_READER_H_
#define ZU_AVIFILE_VIDEO_READER_H_

#include <cstdint>

#include "avifile/chunk_reader.h"
#include "avifile/chunk_scanner.h"
#include "avifile/movie.h"

/// Reads the frames of video streams, stamps them, and mends what some writers do to them: H.264 length prefixes become
/// start codes, a damaged VOL header is cut off. Owns nothing.
class VideoReader {
 public:
  VideoReader(const SMovie& movie, ChunkScanner& scanner, ChunkReader& chunks)
      : m_Movie(movie), m_Scanner(scanner), m_Chunks(chunks) {}

  // @return as ChunkReader::GetNextData.

  /// The first read after open or a seek: a key frame, where there is an index that tells; `*piRead` 0 when the frame
  /// itself shows that it is none after all.
  int GetFirstVideoData(int stream, SChunkRead* read);
  /// @param keyOnly  skips to the next key frame; without an index every frame comes.
  int GetNextVideoData(int stream, bool keyOnly, SChunkRead* read);

 private:
  inline int ReadFrame(int stream, SAVIStream* record, bool keyOnly, SChunkRead* read);
  int ReadMended(int stream, SAVIStream* record, bool keyOnly, SChunkRead* read);
  static void PutStartCodes(SChunkRead* read);
  /// Whether the frame just read is one of those whose writers leave damaged headers: a key frame of a legacy index.
  bool CanHaveDamagedVol(const SAVIStream* record) const;
  /// Reads the next frame instead where nothing but the header is there. @return the status, `status` if none was read.
  int RemoveDamagedVol(int stream, SAVIStream* record, bool keyOnly, int status, SChunkRead* read);

  const SMovie& m_Movie;
  ChunkScanner& m_Scanner;
  ChunkReader& m_Chunks;
};

#endif  // ZU_AVIFILE_VIDEO_READER_H_
