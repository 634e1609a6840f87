#ifndef ZU_AVIFILE_MP3_ALIGN_H_
#define ZU_AVIFILE_MP3_ALIGN_H_

#include "avifile/chunk_scanner.h"
#include "avifile/file_view.h"
#include "avifile/movie.h"

/// Moves a stream's cursor to a Layer III frame sync. With an index the entry found is moved too, by the bytes in front
/// of the sync and keeping its size, so that calling it again moves it further.
/// @return AVI_OK; AVI_ERROR: none left; AVI_EAGAIN or AVI_IO_ERROR.
int FindFirstDataMP3(FileView& file, const SMovie& movie, ChunkScanner& scanner, int stream);

#endif  // ZU_AVIFILE_MP3_ALIGN_H_
