#ifndef ZU_AVIFILE_HEADER_READER_H_
#define ZU_AVIFILE_HEADER_READER_H_

#include <cstdint>

#include "avifile/file_view.h"
#include "avifile/movie.h"

/// One handler per header chunk: "avih", "strh", "strf", "strd", "strn". Owns nothing: what it keeps goes to the movie,
/// after size, memory and bytes were found good. What fails then (a copy of the format) leaves the rest taken.
/// A handler finds the file at the chunk's data, `size` bytes, and `node` in the walk's hands.
class HeaderReader {
 public:
  HeaderReader(FileView& file, SMovie& movie) : m_File(file), m_Movie(movie) {}

  // @return 1 to go on, 0 for a chunk that was refused. Either way the walk goes on: the file is judged at its end.

  int ParseChunkAviHdr(SRIFFNode* node, uint32_t size);
  int ParseChunkStrHdr(SRIFFNode* node, uint32_t size);
  /// Decides a stream's codec type (stream_format.cpp).
  int ParseChunkStrFmt(SRIFFNode* node, uint32_t size);

  /// Keeps the chunk's bytes as `node`'s data, as much as the file has of them; nothing for an absurd size.
  void KeepRawChunk(SRIFFNode* node, uint32_t size);
  /// Keeps a stream's name as `node`'s data, zero-terminated. @return 0, AVI_IO_ERROR or AVI_OUT_OF_MEMORY
  int parseStreamName(SRIFFNode* node, uint32_t size);

 private:
  int ParseAudioFormat(SRIFFNode* node, uint32_t size, SAVIStream* stream);
  int ParseVideoFormat(SRIFFNode* node, uint32_t size, SAVIStream* stream);
  /// How many of the `size` bytes that a chunk claims the file can have.
  uint32_t RoomFor(const SRIFFNode* node, uint32_t size) const;

  FileView& m_File;
  SMovie& m_Movie;
};

#endif  // ZU_AVIFILE_HEADER_READER_H_
