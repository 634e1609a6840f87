#ifndef ZU_AVIFILE_CHUNK_READER_H_
#define ZU_AVIFILE_CHUNK_READER_H_

#include <cstdint>

#include "avifile/chunk_scanner.h"
#include "avifile/file_view.h"
#include "avifile/movie.h"
#include "avifile/mpeg_audio_header.h"
#include "avifile/read_status.h"
#include "avifile/split_picture_joiner.h"
#include "base/bytes.h"

/// Reads one chunk of a stream into the caller's memory, by the stream's index or by scanning, and moves the stream's
/// cursor. Owns the joiner of split pictures and what the last Layer III header said; marks streams whose frames
/// differ in size as VBR.
class ChunkReader {
 public:
  ChunkReader(FileView& file, SMovie& movie, ChunkScanner& scanner)
      : m_File(file), m_Movie(movie), m_Scanner(scanner), m_Joiner(file) {}

  /// The time stays as it is but at the end and for split pictures.
  /// @return AVI_OK; AVI_EAGAIN: the source would block, nothing moved; AVI_ERROR: the end, or a chunk above `nBufLen`
  /// (the cursor stays on it); AVI_IO_ERROR, AVI_TOO_MANY_EMPTY_CHUNKS, AVI_OUT_OF_MEMORY.
  int GetNextData(int stream, SChunkRead* read);
  /// The same for a stream whose record is at hand.
  int Read(int stream, SAVIStream* record, SChunkRead* read) {
    return m_Movie.IsIndexed() ? ReadIndexed(stream, record, read) : ReadScanned(stream, record, read);
  }
  int GetNextTextData(int stream, SChunkRead* read);

  bool IsSplitVideo() const { return m_Joiner.IsSplitVideo(); }
  /// Bytes in the frame whose header began the last indexed Layer III chunk; 0 before one was seen.
  uint32_t LastMp3FrameSize() const { return m_dwMp3FrameSize; }

 private:
  int ReadIndexed(int stream, SAVIStream* record, SChunkRead* read);
  int ReadMpegVideo(SAVIStream* record, const SIndexEntry& entry, SChunkRead* read);
  inline int ReadEntry(const SIndexEntry& entry, SChunkRead* read);
  static inline int Advance(SAVIStream* record, const SIndexEntry& entry, SChunkRead* read);
  int ReadScanned(int stream, SAVIStream* record, SChunkRead* read);
  static int MissingEntry(int stream, const SAVIStream* record, SChunkRead* read);
  void ExamineMp3Chunk(int stream, const SAVIStream* record, ByteSpan chunk);

  FileView& m_File;
  SMovie& m_Movie;
  ChunkScanner& m_Scanner;
  SplitPictureJoiner m_Joiner;
  MpegHeaderDecoder m_Headers;
  uint32_t m_dwMp3FrameSize = 0;
};

#endif  // ZU_AVIFILE_CHUNK_READER_H_
