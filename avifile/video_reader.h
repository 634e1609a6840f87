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
  // The inline ones are on the way of every frame, and defined in the body, which alone calls them.
  int ReadKeyFrame(int stream, SAVIStream* record, SChunkRead* read);
  inline int ReadMended(int stream, SAVIStream* record, bool keyOnly, SChunkRead* read);
  inline int ReadFrame(int stream, SAVIStream* record, SChunkRead* read);
  /// With start codes in place of length prefixes.
  int ReadH264Frame(int stream, SAVIStream* record, SChunkRead* read);
  /// Whether the next frame is one of those whose writers leave damaged headers: a key frame of a legacy index.
  inline bool CanHaveDamagedVol(const SAVIStream* record) const;
  /// Cuts a damaged header off the frame; where nothing but the header is there it reads another frame instead.
  int ReadWithoutDamagedVol(int stream, SAVIStream* record, bool keyOnly, SChunkRead* read);

  const SMovie& m_Movie;
  ChunkScanner& m_Scanner;
  ChunkReader& m_Chunks;
};

#endif  // ZU_AVIFILE_VIDEO_READER_H_
