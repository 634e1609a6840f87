#ifndef ZU_AVIFILE_CONFIG_READER_H_
#define ZU_AVIFILE_CONFIG_READER_H_

#include <cstdint>

#include "avifile/file_view.h"
#include "avifile/movie.h"
#include "base/limits.h"

/// What a decoder needs before its first frame, from a stream's format (audio_config.cpp) or from the front of its
/// first frame (video_config.cpp). Owns nothing; reading a first frame moves the file's position but no cursor.
class ConfigReader {
 public:
  ConfigReader(FileView& file, const SMovie& movie) : m_File(file), m_Movie(movie) {}

  // They write at most `capacity` bytes to `buffer` and store the full size in `length`. @return 1, or 0 without one.

  /// Null `buffer`: 0, `length` left alone. MPEG audio has none; ADPCM has its whole format.
  unsigned char GetAudioSpecificInfo(int stream, uint8_t* buffer, uint32_t* length, uint32_t capacity) const;
  /// What stands behind the last video format parsed, whatever `stream`; without that, of an indexed MPEG-4 Visual
  /// stream, the VOL header in front of its first picture, or one made up. Without any video format `length` stays;
  /// else it is 0 where nothing is found.
  unsigned char GetVideoSpecificInfo(int stream, uint8_t* buffer, uint32_t* length, uint32_t capacity);
  /// H.264: what lies in front of the first IDR slice. Any other codec: 1, `length` left alone. `buffer` needs
  /// AVI_CONFIG_SCRATCH bytes at most.
  unsigned char GetCodecSpecificInfo(int stream, uint8_t* buffer, uint32_t* length, uint32_t capacity);

 private:
  /// For GetVideoSpecificInfo, `*length` being 0.
  unsigned char ConfigFromFirstFrame(const SAVIStream* stream, uint8_t* buffer, uint32_t* length, uint32_t capacity);

  FileView& m_File;
  const SMovie& m_Movie;
};

#endif  // ZU_AVIFILE_CONFIG_READER_H_
