#ifndef ZU_AVIFILE_AUDIO_READER_H_
#define ZU_AVIFILE_AUDIO_READER_H_

#include <cstdint>

#include "avifile/chunk_reader.h"
#include "avifile/chunk_scanner.h"
#include "avifile/movie.h"

/// Reads the chunks of audio streams and stamps them. Owns the bit rate that serves the time of one read.
class AudioReader {
 public:
  AudioReader(const SMovie& movie, ChunkScanner& scanner, ChunkReader& chunks)
      : m_Movie(movie), m_Scanner(scanner), m_Chunks(chunks) {}

  // @return as ChunkReader::GetNextData.

  /// The first read after open or a seek: finds the stream's first chunk when there is no index.
  int GetFirstAudioData(int stream, SChunkRead* read);
  int GetNextAudioData(int stream, SChunkRead* read);

  /// The bit rate of an audio frame just found, in bit/s. The next read of an AC-3 stream takes its time from it.
  void SetAC3BitRate(uint32_t bitsPerSecond) { m_dwAC3BitRate = bitsPerSecond; }

 private:
  /// Milliseconds of the next chunk. Defined in the body, which alone calls it.
  inline uint32_t NextTime(int stream, const SAVIStream* record);

  const SMovie& m_Movie;
  ChunkScanner& m_Scanner;
  ChunkReader& m_Chunks;
  uint32_t m_dwAC3BitRate = 0;
};

#endif  // ZU_AVIFILE_AUDIO_READER_H_
