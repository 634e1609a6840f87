#define LOG_TAG "AVIFileParser"
#include "avifile/chunk_scanner.h"

#include "avifile/format_fields.h"
#include "avifile/read_status.h"
#include "base/limits.h"
#include "base/log.h"

namespace {

constexpr long kPastLastChunk = -2147483648L;

}  // namespace

void ChunkScanner::LearnChunkId(const SRIFF& riff) {
  SAVIStream* stream = m_Movie.streams.At(StreamNumber(riff.dwFourCC));
  if (!stream || stream->dwChunkId != 0) return;
  const bool fits = HasKind(stream, kFccVideo)
                        ? HasSuffix(riff.dwFourCC, 'd', 'c') || HasSuffix(riff.dwFourCC, 'd', 'b')
                        : HasSuffix(riff.dwFourCC, 'w', 'b');
  if (fits) stream->dwChunkId = riff.dwFourCC;
}

void ChunkScanner::SkipChunk(const SRIFF& riff) { m_File.Skip(long{riff.dwSize} - 4 + (riff.dwSize & 1)); }

int ChunkScanner::FindFirstData(int stream, uint32_t* pOffset) {
  if (!m_Movie.m_pMovi) {
    *pOffset = 0;
    return AVI_OK;
  }
  const SAVIStream* record = m_Movie.streams.At(stream);
  if (!record) {
    *pOffset = kCursorAtEnd;
    return AVI_ERROR;
  }
  if (*pOffset != 0) return AVI_OK;
  m_File.Seek(m_Movie.m_pMovi->llOffset);
  for (int empty = 0;;) {
    SRIFF riff;
    const int nRead = m_File.ReadHeader(&riff);
    if (nRead < 0) {
      return FailedRead(nRead, "CAVIFileParser::FindFirstData  fread ERROR!",
                        "CAVIFileParser::FindFirstData  ERROR EAGAIN");
    }
    if (nRead == 0) {
      *pOffset = kCursorAtEnd;
      return AVI_ERROR;
    }
    if (IsList(riff)) continue;
    LearnChunkId(riff);
    if (riff.dwSize == 0) {
      m_File.StepBackOverType();
      if (++empty >= AVI_EMPTY_LIMIT) {
        *pOffset = kCursorAtEnd;  // every retry would search as far again
        return AVI_TOO_MANY_EMPTY_CHUNKS;
      }
    } else if (record->dwChunkId != 0 && riff.dwFourCC == record->dwChunkId) {
      m_File.StepBackOverHeader();
      // The cell is 32 bits wide on purpose: what lies beyond 4 GiB needs an index.
      *pOffset = static_cast<uint32_t>(m_File.Tell());
      return *pOffset != 0 ? AVI_OK : AVI_ERROR;
    } else {
      SkipChunk(riff);
    }
  }
}

int ChunkScanner::PlaceCursor(int stream, SAVIStream* record) {
  if (record->dwCurrOffset != 0) return AVI_OK;
  uint32_t first = 0;
  const int status = FindFirstData(stream, &first);
  record->dwCurrOffset = first;
  return status;
}

int ChunkScanner::FindFirstTrackData(int stream, long* pOffset) {
  *pOffset = 0;
  if (!m_Movie.m_pMovi) return AVI_ERROR;
  m_File.Seek(m_Movie.m_pMovi->llOffset);
  for (int skipped = 0;;) {
    SRIFF riff;
    const int nRead = m_File.ReadHeader(&riff);
    if (nRead < 0) {
      return FailedRead(nRead, "CAVIFileParser::FindFirstTrackData  fread ERROR!",
                        "CAVIFileParser::FindFirstTrackData  ERROR EAGAIN");
    }
    if (nRead == 0) return AVI_OK;
    if (IsList(riff)) continue;
    if (riff.dwSize != 0 && StreamNumber(riff.dwFourCC) == stream) {
      m_File.StepBackOverHeader();
      *pOffset = m_File.Tell();
      return AVI_OK;
    }
    SkipChunk(riff);
    if (++skipped >= AVI_EMPTY_LIMIT) {
      AVI_LOGE("CAVIFileParser::FindFirstTrackData  can not find right chunk!!");
      return AVI_ERROR;
    }
  }
}

long ChunkScanner::FindNextData(int stream) {
  const SAVIStream* record = m_Movie.streams.At(stream);
  if (!record) return AVI_ERROR;
  m_File.Seek(record->dwCurrOffset);
  SRIFF riff;
  int nRead = m_File.ReadHeader(&riff);
  if (nRead < 1) {
    return FailedRead(nRead, "CAVIFileParser::FindNextData  fread ERROR!",
                      "CAVIFileParser::FindNextData  ERROR EAGAIN");
  }
  SkipChunk(riff);
  for (int empty = 0;;) {
    nRead = m_File.ReadHeader(&riff);
    if (nRead < 0) {
      return FailedRead(nRead, "FindNextData  fread ERROR!", "CAVIFileParser::FindNextData  ERROR EAGAIN");
    }
    if (nRead == 0) return kPastLastChunk;
    if (IsList(riff)) continue;
    if (riff.dwSize == 0) {
      m_File.StepBackOverType();
      if (++empty >= AVI_EMPTY_LIMIT) return AVI_TOO_MANY_EMPTY_CHUNKS;
    } else if (StreamNumber(riff.dwFourCC) == stream) {
      m_File.StepBackOverHeader();
      return m_File.Tell();
    } else {
      SkipChunk(riff);
    }
  }
}
