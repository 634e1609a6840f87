#ifndef ZU_AVIFILE_MOVIE_INFO_H_
#define ZU_AVIFILE_MOVIE_INFO_H_

#include "avifile/movie.h"

/// Describes one stream. A movie whose play time is still unknown takes it from the audio stream described.
/// @return 1, also when an unsupported stream leaves `pInfo` as it was; 0: nothing was parsed, or no such stream.
int GetMoviInfo(SMovie& movie, SAVIInfo* pInfo, int stream);

#endif  // ZU_AVIFILE_MOVIE_INFO_H_
