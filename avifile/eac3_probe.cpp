#define LOG_TAG "AVIFileParser"
#include "avifile/eac3_probe.h"

#include <algorithm>

#include "avifile/ac3_header.h"
#include "avifile/riff_header.h"
#include "base/bytes.h"
#include "base/limits.h"
#include "base/log.h"
#include "zu_parser_avi/status.h"

namespace {

constexpr size_t kBsidByte = 5;  // ATSC A/52: bsid in its top five bits; 16 is E-AC-3

/// Puts the file on the first sync word in the rest of a chunk, of which four bytes are read.
int SeekToAc3Sync(FileView& file, uint32_t chunkId, uint32_t chunkSize) {
  uint64_t left = chunkSize > 4 ? chunkSize - 4 : 0;
  while (left >= 2) {
    uint8_t piece[AVI_PROBE_PIECE];
    const uint32_t size = static_cast<uint32_t>(std::min<uint64_t>(left, AVI_PROBE_PIECE));
    const int nRead = file.Read(piece, size);
    if (nRead < 1) {
      AVI_LOGE("CheckIsEAC3: movi file read fail - [%d]", nRead);
      return AVI_IO_ERROR;
    }
    for (int i = 0; i + 1 < nRead; ++i) {
      if (!IsAc3Sync(piece + i)) continue;
      // As from a full piece: behind a shorter one this lands too early, and the test then sees other bytes.
      file.Skip(i - static_cast<long>(AVI_PROBE_PIECE));
      return AVI_OK;
    }
    left -= static_cast<uint32_t>(nRead);
    if (left == 0 || nRead < 2) break;
    // One byte again, for a sync word cut in two.
    file.Skip(-1);
    ++left;
  }
  AVI_LOGD("CheckIsEAC3: find syncword end");
  AVI_LOGE("CheckIsEAC3: can not find syncword - [%u][%u]", chunkId, chunkSize);
  return AVI_ERROR;
}

}  // namespace

int CheckIsEAC3(FileView& file, const SMovie& movie, ChunkScanner& scanner, int stream) {
  SAVIStream* record = movie.streams.At(stream);
  if (!record) {
    AVI_LOGE("CheckIsEAC3: Abnormal request [%d]/[%d]", stream, movie.streams.DeclaredCount());
    return AVI_ERROR;
  }
  long first = 0;
  const int found = scanner.FindFirstTrackData(stream, &first);
  record->dwCurrOffset = static_cast<uint64_t>(first);
  if (found < 0 || first == 0) {
    AVI_LOGD("CheckIsEAC3: can not find track[%d] first data - [%d]", stream, found);
    return found;
  }
  file.Seek(first);
  uint8_t head[kRiffHeaderBytes] = {};
  const int nRead = file.Read(head, kRiffHeaderBytes);
  const uint32_t chunkId = LoadLe32(head);
  if (nRead < static_cast<int>(kRiffHeaderBytes) || !HasSuffix(chunkId, 'w', 'b')) {
    AVI_LOGE("CheckIsEAC3: track[%d] movi first data error[%u], read[%d]", stream, chunkId, nRead);
    return AVI_IO_ERROR;
  }
  if (IsAc3Sync(head + 8)) {
    file.StepBackOverType();
  } else if (const int status = SeekToAc3Sync(file, chunkId, LoadLe32(head + 4)); status != AVI_OK) {
    return status;
  }
  uint8_t frame[8] = {};
  const int frameRead = file.Read(frame, sizeof frame);
  if (frameRead < 1) {
    AVI_LOGE("CheckIsEAC3: file read fail - [%d]", frameRead);
    return AVI_IO_ERROR;
  }
  return frame[kBsidByte] & 0x80 ? 1 : 0;
}
