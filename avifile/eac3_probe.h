#ifndef ZU_AVIFILE_EAC3_PROBE_H_
#define ZU_AVIFILE_EAC3_PROBE_H_

#include "avifile/chunk_scanner.h"
#include "avifile/file_view.h"
#include "avifile/movie.h"

/// Tells E-AC-3 from AC-3 by the first sync frame of a stream (ATSC A/52). Moves the stream's cursor for scanning to
/// its first chunk, or to 0 when there is none. @return 1 E-AC-3, 0 AC-3 or no such chunk; negative, or AVI_EAGAIN,
/// when the first chunk does not tell.
int CheckIsEAC3(FileView& file, const SMovie& movie, ChunkScanner& scanner, int stream);

#endif  // ZU_AVIFILE_EAC3_PROBE_H_
