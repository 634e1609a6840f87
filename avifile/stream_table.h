#ifndef ZU_AVIFILE_STREAM_TABLE_H_
#define ZU_AVIFILE_STREAM_TABLE_H_

#include <array>
#include <cstdint>
#include <span>

#include "avifile/records.h"
#include "base/limits.h"

/// The streams that the main header declares. Owns their records, the indexes in the records, and a copy of each audio
/// format; knows which stream a walk is in. A record's header and format belong to the chunk tree, which outlives it.
/// Whoever may look at the table may move the cursors in its records; adding, dropping and marking streams takes more.
class StreamTable {
 public:
  StreamTable() = default;
  StreamTable(const StreamTable&) = delete;
  StreamTable& operator=(const StreamTable&) = delete;
  ~StreamTable();

  /// Once: makes records for `streams` streams and puts a walk in front of the first one. The number is kept even when
  /// they cannot be made. @return false without memory and beyond AVI_MAX_STREAMS.
  bool Declare(uint32_t streams);
  bool IsDeclared() const { return m_aStream != nullptr; }
  /// As declared: any number, a negative one too, with or without records.
  int DeclaredCount() const { return m_iStreamNum; }
  /// The streams that have a record.
  std::span<SAVIStream> All() const {
    return m_aStream ? std::span(m_aStream, static_cast<size_t>(m_iStreamNum)) : std::span<SAVIStream>();
  }
  /// The one answer to whether a stream number is usable: null for one out of range and before Declare.
  SAVIStream* At(int stream) const {
    return m_aStream && stream >= 0 && stream < m_iStreamNum ? &m_aStream[stream] : nullptr;
  }
  /// STREAM_TYPE_INVALID for a stream number out of range.
  uint32_t GetStreamType(int stream) const;

  /// The number that a walk is in: -1 in front of the first "strl" list. It may run past the last stream.
  int Current() const { return m_iCurrStreamIdx; }
  SAVIStream* CurrentStream() const { return At(m_iCurrStreamIdx); }
  void EnterNext();

  /// Whether each chunk of an audio stream stands for a span of time, as far as its format and the chunks read so far
  /// tell. Streams from AVI_VBR_STREAMS on never count as such.
  bool IsVBR(int stream) const {
    return stream >= 0 && stream < AVI_VBR_STREAMS && m_abVBR[static_cast<size_t>(stream)];
  }
  void SetVBR(int stream) {
    if (stream >= 0 && stream < AVI_VBR_STREAMS) m_abVBR[static_cast<size_t>(stream)] = true;
  }

  /// Once: makes room for the copies of formats. @return false without memory: none is kept then.
  bool AllocateFormats();
  /// Keeps a copy of the current stream's format, which is parsed, in place of an earlier one. @return false without
  /// memory or without a current stream.
  bool KeepFormat();
  /// The copy; null data when there is none.
  SStrfData Format(int stream) const { return At(stream) && m_StrfData ? m_StrfData[stream] : SStrfData{}; }

  /// Hands `entries` to stream 0, which has an index record, as the table that all streams of a legacy index share.
  void ShareEntries(SIndexEntry* entries);
  bool HasSharedEntries() const { return m_bSharedEntries; }
  void FreeIndexes();

 private:
  int m_iStreamNum = 0;
  int m_iCurrStreamIdx = -1;
  SAVIStream* m_aStream = nullptr;
  SStrfData* m_StrfData = nullptr;  // one a stream
  std::array<bool, AVI_VBR_STREAMS> m_abVBR{};
  bool m_bSharedEntries = false;
};

/// Frees an index record and the entries it owns; null is ignored.
void FreeIndex(SIndex* index);

#endif  // ZU_AVIFILE_STREAM_TABLE_H_
