#define LOG_TAG "AVIFileParser"
#include "avifile/avi_file_parser.h"
#include "avifile/format_fields.h"
#include "avifile/riff_header.h"
#include "base/log.h"

// Finding a stream's chunks without an index: header by header through "movi", entering lists and further RIFF groups.

namespace {

constexpr long kPastLastChunk = -2147483648L;

}  // namespace

void CAVIFileParser::LearnChunkId(const SRIFF& riff) {
  SAVIStream* stream = Stream(StreamNumber(riff.dwFourCC));
  if (!stream || stream->dwChunkId != 0) return;
  const bool fits = HasKind(stream, kFccVideo)
                        ? HasSuffix(riff.dwFourCC, 'd', 'c') || HasSuffix(riff.dwFourCC, 'd', 'b')
                        : HasSuffix(riff.dwFourCC, 'w', 'b');
  if (fits) stream->dwChunkId = riff.dwFourCC;
}

void CAVIFileParser::SkipScannedChunk(const SRIFF& riff) {
  m_pReader->AVI_fseek(long{riff.dwSize} - 4 + (riff.dwSize & 1), 1);
}

int CAVIFileParser::FindFirstData(int stream, unsigned int* pOffset) {
  if (!m_pMovi) {
    *pOffset = 0;
    return AVI_OK;
  }
  const SAVIStream* record = Stream(stream);
  if (!record) {
    *pOffset = kCursorAtEnd;
    return AVI_ERROR;
  }
  if (*pOffset != 0) return AVI_OK;
  m_pReader->AVI_fseek(m_pMovi->llOffset, 0);
  for (int empty = 0;;) {
    SRIFF riff;
    const int nRead = ReadRiffHeader(m_pReader, &riff);
    if (nRead < 0) {
      AVI_LOGE("CAVIFileParser::FindFirstData  fread ERROR!");
      if (nRead != AVI_SOURCE_WOULD_BLOCK) return AVI_IO_ERROR;
      AVI_LOGE("CAVIFileParser::FindFirstData  ERROR EAGAIN");
      return AVI_EAGAIN;
    }
    if (nRead == 0) {
      *pOffset = kCursorAtEnd;
      return AVI_ERROR;
    }
    if (IsList(riff)) continue;
    LearnChunkId(riff);
    if (riff.dwSize == 0) {
      m_pReader->AVI_fseek(-4, 1);
      if (++empty >= AVI_EMPTY_LIMIT) return AVI_TOO_MANY_EMPTY_CHUNKS;
    } else if (record->dwChunkId != 0 && riff.dwFourCC == record->dwChunkId) {
      m_pReader->AVI_fseek(-static_cast<long>(kRiffHeaderBytes), 1);
      // The cell is 32 bits wide on purpose: what lies beyond 4 GiB needs an index.
      *pOffset = static_cast<unsigned int>(m_pReader->AVI_ftell());
      return *pOffset != 0 ? AVI_OK : AVI_ERROR;
    } else {
      SkipScannedChunk(riff);
    }
  }
}

int CAVIFileParser::PlaceCursor(int stream, SAVIStream* record) {
  if (record->dwCurrOffset != 0) return AVI_OK;
  unsigned int first = 0;
  const int status = FindFirstData(stream, &first);
  record->dwCurrOffset = first;
  return status;
}

int CAVIFileParser::FindFirstTrackData(int stream, long* pOffset) {
  *pOffset = 0;
  if (!m_pMovi) return AVI_ERROR;
  m_pReader->AVI_fseek(m_pMovi->llOffset, 0);
  for (int skipped = 0;;) {
    SRIFF riff;
    const int nRead = ReadRiffHeader(m_pReader, &riff);
    if (nRead < 0) {
      AVI_LOGE("CAVIFileParser::FindFirstTrackData  fread ERROR!");
      if (nRead != AVI_SOURCE_WOULD_BLOCK) return AVI_IO_ERROR;
      AVI_LOGE("CAVIFileParser::FindFirstTrackData  ERROR EAGAIN");
      return AVI_EAGAIN;
    }
    if (nRead == 0) return AVI_OK;
    if (IsList(riff)) continue;
    if (riff.dwSize != 0 && StreamNumber(riff.dwFourCC) == stream) {
      m_pReader->AVI_fseek(-static_cast<long>(kRiffHeaderBytes), 1);
      *pOffset = m_pReader->AVI_ftell();
      return AVI_OK;
    }
    SkipScannedChunk(riff);
    if (++skipped >= AVI_EMPTY_LIMIT) {
      AVI_LOGE("CAVIFileParser::FindFirstTrackData  can not find right chunk!!");
      return AVI_ERROR;
    }
  }
}

long CAVIFileParser::FindNextData(int stream) {
  const SAVIStream* record = Stream(stream);
  if (!record) return AVI_ERROR;
  m_pReader->AVI_fseek(static_cast<long>(record->dwCurrOffset), 0);
  SRIFF riff;
  int nRead = ReadRiffHeader(m_pReader, &riff);
  if (nRead < 1) {
    AVI_LOGE("CAVIFileParser::FindNextData  fread ERROR!");
    if (nRead != AVI_SOURCE_WOULD_BLOCK) return AVI_IO_ERROR;
    AVI_LOGE("CAVIFileParser::FindNextData  ERROR EAGAIN");
    return AVI_EAGAIN;
  }
  SkipScannedChunk(riff);
  for (int empty = 0;;) {
    nRead = ReadRiffHeader(m_pReader, &riff);
    if (nRead < 0) {
      AVI_LOGE("FindNextData  fread ERROR!");
      if (nRead != AVI_SOURCE_WOULD_BLOCK) return AVI_IO_ERROR;
      AVI_LOGE("CAVIFileParser::FindNextData  ERROR EAGAIN");
      return AVI_EAGAIN;
    }
    if (nRead == 0) return kPastLastChunk;
    if (IsList(riff)) continue;
    if (riff.dwSize == 0) {
      m_pReader->AVI_fseek(-4, 1);
      if (++empty >= AVI_EMPTY_LIMIT) return AVI_TOO_MANY_EMPTY_CHUNKS;
    } else if (StreamNumber(riff.dwFourCC) == stream) {
      m_pReader->AVI_fseek(-static_cast<long>(kRiffHeaderBytes), 1);
      return m_pReader->AVI_ftell();
    } else {
      SkipScannedChunk(riff);
    }
  }
}
