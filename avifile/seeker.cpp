#define LOG_TAG "AVIFileParser"
#include "avifile/seeker.h"

#include <algorithm>
#include <limits>

#include "avifile/format_fields.h"
#include "avifile/mpeg_audio_header.h"
#include "avifile/sample_time.h"
#include "base/checked_math.h"
#include "base/limits.h"
#include "base/log.h"
#include "zu_parser_avi/status.h"

// Positions are converted in single precision, by contract: a player that stored a position finds it again.

namespace {

constexpr int kTrackVideo = 1;
constexpr int kTrackAudio = 2;

float TimeToPosition(uint32_t time, const SAVIStream* record) {
  return static_cast<float>(time) * record->fFramePerSec / 1000.0f;
}

uint32_t TimeToIndex(uint32_t time, const SAVIStream* record) {
  return Truncate<uint32_t>(TimeToPosition(time, record));
}

uint32_t IndexToTime(uint32_t index, const SAVIStream* record) {
  return ToTimeMs(static_cast<float>(CheckedMul<uint32_t>(index, 1000u)) / record->fFramePerSec);
}

/// The key frame at or before entry `at`; 0 when there is none.
uint32_t WalkBackward(const SAVIStream* record, uint32_t at) {
  const uint32_t count = IndexCount(record);
  if (count == 0) return 0;
  for (at = std::min(at, count - 1); at != 0 && !IsKeyFrame(record->pIndex->aIdx[at]); --at) {
  }
  return at;
}

/// The key frame at or after entry `at`; when there is none, the larger of `at` and the number of entries.
uint32_t WalkForward(const SAVIStream* record, uint32_t at) {
  const uint32_t count = IndexCount(record);
  while (at < count && !IsKeyFrame(record->pIndex->aIdx[at])) ++at;
  return at;
}

/// The last entries are never a forward target: there would be too little left to play.
bool IsForwardTarget(const SAVIStream* record, uint32_t at) {
  const uint32_t count = IndexCount(record);
  return count > AVI_SEEK_MARGIN && at < count - AVI_SEEK_MARGIN;
}

void ClearCursors(SAVIStream* record) {
  record->dwCurrIdx = 0;
  record->dwCurrOffset = 0;
  record->dwTotalBytes = 0;
  record->dwChunkCount = 0;
}

void StoreTime(uint32_t* pdwStartTime, uint32_t time) {
  if (pdwStartTime) *pdwStartTime = time;
}

uint32_t EntrySize(const SAVIStream* record, uint32_t i) {
  const SIndexEntry* entry = IndexEntry(record, i);
  return entry ? ChunkSize(*entry) : 0;
}

/// Bytes in an MPEG audio frame, 0 for other codecs; the header's dwSampleSize becomes that length and stays so.
float SetMpegSampleSize(SAVIStream* record) {
  const bool mpeg = record->nStreamType == STREAM_TYPE_MP3 || record->nStreamType == STREAM_TYPE_MPEG_AUDIO;
  const uint32_t rate = SamplesPerSec(record);
  if (!mpeg || SampleSize(record) == 0 || rate == 0) return 0;
  const uint64_t product = uint64_t{AvgBytesPerSec(record)} * (Layer3FrameSamples(rate));
  record->m_pStrh->dwSampleSize =
      static_cast<uint32_t>(std::min<uint64_t>(product / rate, std::numeric_limits<uint32_t>::max()));
  return static_cast<float>(product) / static_cast<float>(rate);
}

/// Entries until `blocks` blocks have gone by.
SIndexPosition SkipBlocks(SAVIStream* record, uint32_t blocks) {
  // Held so low that the reads from there to the end cannot overflow it.
  record->dwChunkCount = std::min(blocks, std::numeric_limits<uint32_t>::max() - IndexCount(record));
  return FindBlockCount(record, blocks);
}

/// AC-3: the last entry walked while blocks remain, and the bytes in front of the one behind it less that one's size.
SIndexPosition FindAc3Position(SAVIStream* record, uint32_t blocks) {
  const SIndexPosition walked = FindBlockCount(record, uint64_t{blocks} + 1);
  if (walked.dwIdx == 0) return {0, 0};
  const uint32_t next = EntrySize(record, walked.dwIdx);
  record->dwChunkCount = walked.dwIdx - 1;
  return {walked.dwIdx - 1, walked.qwBytes > next ? walked.qwBytes - next : 0};
}

/// Where a CBR stream of a known sample size is at `time`.
SIndexPosition FindCbrPosition(SAVIStream* record, uint32_t time, float frameBytes) {
  const int64_t frames = Truncate<int64_t>(static_cast<float>(time) * record->fFramePerSec) / 1000;
  SIndexPosition position;
  switch (record->nStreamType) {
    case STREAM_TYPE_MP3:
      position = FindByteTarget(record, Truncate<uint64_t>(frameBytes * static_cast<float>(frames)));
      record->dwChunkCount = position.dwIdx;
      return position;
    case STREAM_TYPE_AC3:
      return FindAc3Position(record, TimeToIndex(time, record));
    case STREAM_TYPE_AAC:
    case STREAM_TYPE_AAC_RAW:
      // Held at the end, so that no time that a host asks for makes a later read's time overflow.
      return {static_cast<uint32_t>(std::min<int64_t>(frames, IndexCount(record))), 0};
    default:
      return FindByteTarget(record, SaturatedMul<uint64_t>(frames, SampleSize(record)));
  }
}

}  // namespace

uint32_t Seeker::SeekVideoKeyFrame(uint32_t dwTime, int stream, int nSeekMode, unsigned char bSeekForward) const {
  AVI_LOGV("SeekVideoKeyFrame : [SeekForward:%d]", bSeekForward);
  const SAVIStream* record = m_Movie.streams.At(stream);
  const uint32_t count = IndexCount(record);
  if (count == 0) return 0;
  const uint32_t at = std::min(TimeToIndex(dwTime, record), count - 1);
  const uint32_t prev = WalkBackward(record, at);
  if (nSeekMode == 0) return prev;
  const uint32_t forward = WalkForward(record, at);
  const uint32_t next = IsForwardTarget(record, forward) ? forward : prev;
  if (nSeekMode != 2 && nSeekMode != 3) return next;
  const uint64_t both = uint64_t{IndexToTime(next, record)} + IndexToTime(prev, record);
  return both < 2 * uint64_t{dwTime} ? next : prev;
}

int Seeker::SeekWithoutIndex(uint32_t dwTime, uint32_t* pdwStartTime) {
  if (dwTime != 0) return AVI_ERROR;
  for (SAVIStream& record : m_Movie.streams.All()) ClearCursors(&record);
  StoreTime(pdwStartTime, 0);
  return AVI_OK;
}

int Seeker::SetStartTime(uint32_t dwTime, uint32_t* pdwStartTime, unsigned char bSeekForward, int nTrackType,
                         int nSeekMode) {
  AVI_LOGV("SetStartTime start : %d\n", nTrackType);
  if (!m_Movie.IsIndexed()) return SeekWithoutIndex(dwTime, pdwStartTime);
  uint32_t time = dwTime;
  for (int i = 0; SAVIStream* record = m_Movie.streams.At(i); ++i) {
    const bool video = HasKind(record, kFccVideo) && record->nStreamType != STREAM_TYPE_SUBTITLE;
    if (nTrackType == kTrackVideo && video) {
      SeekVideoStream(i, record, dwTime, bSeekForward, nSeekMode, &time);
    } else if (nTrackType == kTrackAudio && HasKind(record, kFccAudio)) {
      SeekAudioStream(i, record, dwTime);
    }
  }
  StoreTime(pdwStartTime, time);
  AVI_LOGV("SetStartTime End : %ld\n", static_cast<long>(time));
  return AVI_OK;
}

void Seeker::SeekVideoStream(int stream, SAVIStream* record, uint32_t dwTime, unsigned char bSeekForward, int nSeekMode,
                             uint32_t* time) {
  if (dwTime == 0) {
    ClearCursors(record);
    AVI_LOGE("SetStartTime Video Index Default to 0");
    return;
  }
  record->dwCurrIdx = SeekVideoKeyFrame(*time, stream, nSeekMode, bSeekForward);
  record->dwTotalBytes = 0;
  // A later video stream follows to the time that this one reached.
  if (IndexCount(record) != 0) *time = IndexToTime(record->dwCurrIdx, record);
}

void Seeker::SeekAudioStream(int stream, SAVIStream* record, uint32_t dwTime) {
  if (dwTime == 0) {
    ClearCursors(record);
    AVI_LOGV("SetStartTime Audio Index Default to 0");
    return;
  }
  SIndexPosition position{0, 0};
  if (record->m_pStrf && IndexCount(record) != 0) {
    if (IsTimedByIndex(m_Movie.streams, stream, record)) {
      AVI_LOGV("VBR");
      position.dwIdx = std::min(TimeToIndex(dwTime, record), IndexCount(record) - 1);
      record->dwChunkCount = position.dwIdx;
    } else {
      AVI_LOGV("CBR");
      const float frameBytes = SetMpegSampleSize(record);
      position = SampleSize(record) == 0 ? SkipBlocks(record, TimeToIndex(dwTime, record))
                                         : FindCbrPosition(record, dwTime, frameBytes);
    }
  }
  record->dwCurrIdx = position.dwIdx;
  record->dwTotalBytes = position.qwBytes;
  AVI_LOGV("[stream:%d] dwAudioIdx : %lu\n", stream, static_cast<unsigned long>(position.dwIdx));
}

int Seeker::SetStartTime(uint32_t dwTime, uint32_t* pdwStartTime, unsigned char bSeekForward) {
  if (!m_Movie.IsIndexed()) return SeekWithoutIndex(dwTime, pdwStartTime);
  uint32_t time = dwTime;
  for (int i = 0; SAVIStream* record = m_Movie.streams.At(i); ++i) {
    if (!HasKind(record, kFccVideo)) continue;
    if (dwTime == 0) {
      ClearCursors(record);
      AVI_LOGE("SetStartTime Video Index [%d/%d] Default to 0", i, m_Movie.streams.DeclaredCount());
    } else {
      SeekAllVideoStream(record, bSeekForward, &time);
    }
  }
  // Carried from one audio stream to the next: with a sum of its own a second stream would start elsewhere than
  // players have learned to expect.
  uint64_t bytes = 0;
  for (int i = 0; SAVIStream* record = m_Movie.streams.At(i); ++i) {
    if (!HasKind(record, kFccAudio)) continue;
    if (dwTime == 0) {
      ClearCursors(record);
      AVI_LOGE("SetStartTime Audio Index [%d/%d] Default to 0", i, m_Movie.streams.DeclaredCount());
    } else if (!SeekAllAudioStream(record, time, &bytes)) {
      MoveAllToEnd();
      break;
    }
  }
  StoreTime(pdwStartTime, time);
  return AVI_OK;
}

void Seeker::SeekAllVideoStream(SAVIStream* record, unsigned char bSeekForward, uint32_t* time) {
  const uint32_t count = IndexCount(record);
  const uint32_t first = TimeToIndex(*time, record);
  uint32_t at;
  if (bSeekForward == 1) {
    at = WalkForward(record, first);
    AVI_LOGV("[SetStartTime] SetStartTime(bSeekForward):dwFirstIdx:%ld, idx : %ld, dwIdxNum : %ld, dwSize:%ld",
             static_cast<long>(first), static_cast<long>(at), static_cast<long>(count),
             static_cast<long>(EntrySize(record, at)));
    if (!IsForwardTarget(record, at)) at = WalkBackward(record, first);
  } else {
    at = WalkBackward(record, first);
    AVI_LOGV("SetStartTime(bSeekBackward) :  dwFirstIdx:%ld, idx : %ld, dwSize:%ld", static_cast<long>(first),
             static_cast<long>(at), static_cast<long>(EntrySize(record, at)));
  }
  record->dwCurrIdx = at;
  record->dwTotalBytes = 0;
  *time = IndexToTime(at, record);
  AVI_LOGV("Video dwDestTimeTick :%ld ", static_cast<long>(*time));
}

bool Seeker::SeekAllAudioStream(SAVIStream* record, uint32_t time, uint64_t* bytes) {
  uint32_t idx = 0;
  const uint32_t count = IndexCount(record);
  if (!record->m_pStrf || count == 0) {
    record->dwCurrIdx = 0;
    record->dwTotalBytes = 0;
    return true;
  }
  if (IsVbrByHeader(record)) {
    idx = TimeToIndex(time, record);
    record->dwChunkCount = idx;
  } else {
    idx = FindAllCbrIndex(record, time, bytes);
  }
  if (idx == count) {
    AVI_LOGE("[mossgrove] meet Audio EOS when Seek - can't seek so, do EOS");
    return false;
  }
  AVI_LOGE("[mossgrove] dwAudioIdx : %lu", static_cast<unsigned long>(idx));
  record->dwCurrIdx = std::min(idx, count);  // held at the end: a later read's time must not overflow
  record->dwTotalBytes = *bytes;
  return true;
}

uint32_t Seeker::FindAllCbrIndex(SAVIStream* record, uint32_t time, uint64_t* bytes) {
  const float frameBytes = SetMpegSampleSize(record);
  const uint32_t length = TimeToIndex(time, record);
  if (SampleSize(record) == 0) {
    const SIndexPosition position = SkipBlocks(record, length);
    AVI_LOGE("CBR Common Audio Case Audio Index : %ld", static_cast<long>(position.dwIdx));
    *bytes += position.qwBytes;
    return position.dwIdx;
  }
  AVI_LOGV("dwAudioLength:%ld, dwDestTimeTick:%ld, dwSampleSize:%ld, SampleSizeFloat:%f, m_aStream[i].fFramePerSec:%f",
           static_cast<long>(length), static_cast<long>(time), static_cast<long>(SampleSize(record)),
           static_cast<double>(frameBytes), static_cast<double>(record->fFramePerSec));
  if (record->nStreamType == STREAM_TYPE_AAC || record->nStreamType == STREAM_TYPE_AAC_RAW) {
    *bytes = 0;
    AVI_LOGE("AAC or HEAAC Audio Index : %ld", static_cast<long>(length));
    return length;
  }
  const bool mp3 = record->nStreamType == STREAM_TYPE_MP3;
  const uint64_t target =
      mp3 ? Truncate<uint64_t>(frameBytes * static_cast<float>(length)) : uint64_t{length} * SampleSize(record);
  // The sum that an earlier stream left counts against the target.
  const SIndexPosition position = target < *bytes ? EndOfIndex(record) : FindByteTarget(record, target - *bytes);
  *bytes += position.qwBytes;
  if (!mp3) {
    AVI_LOGE("Common Audio Case Audio Index : %ld", static_cast<long>(position.dwIdx));
    return position.dwIdx;
  }
  if (IndexEntry(record, position.dwIdx)) {
    AVI_LOGE("m_aStream[i].pIndex->aIdx[idx].dwSize:%ld", static_cast<long>(EntrySize(record, position.dwIdx)));
  }
  record->dwChunkCount = position.dwIdx;
  return position.dwIdx;
}

void Seeker::MoveAllToEnd() {
  for (SAVIStream& record : m_Movie.streams.All()) {
    record.dwCurrIdx = IndexCount(&record);
    record.dwTotalBytes = 0;
  }
}

uint32_t Seeker::getNextKeyFrameTime(uint32_t dwTime) const {
  if (!m_Movie.IsIndexed()) return 0;
  uint32_t next = 0;  // a stream without a key frame behind `dwTime` answers with the position of the one before it
  uint32_t time = 0;
  for (const SAVIStream& stream : m_Movie.streams.All()) {
    const SAVIStream* record = &stream;
    if (!HasKind(record, kFccVideo)) continue;
    const uint32_t count = IndexCount(record);
    const uint32_t first = std::min(TimeToIndex(dwTime, record), count);
    const uint32_t found = WalkForward(record, first);
    if (found < count) next = found;
    time = IndexToTime(next, record);
    AVI_LOGV("[getNextKeyFrameTime] curr ts : %ld, next ts :%ld, FirstIdx: %ld, NextIdx:%ld, dwIdxNum:%ld ",
             static_cast<long>(dwTime), static_cast<long>(time), static_cast<long>(first), static_cast<long>(next),
             static_cast<long>(count));
  }
  return time;
}
