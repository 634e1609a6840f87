#ifndef ZU_PLUGIN_TRACK_TABLE_H_
#define ZU_PLUGIN_TRACK_TABLE_H_

#include <algorithm>
#include <array>

#include "plugin/delivery.h"
#include "zu_parser_avi/codec_ids.h"
#include "zu_parser_avi/track_info.h"

class AudioPath;

/// The tracks as the host knows them: one record per stream, the streams of each kind, and which are played. Owns the
/// records until Clear; their pointers lead into the file parser.
class TrackTable {
 public:
  /// Makes the records and lists the streams of each kind. Clear goes before. @return false: out of memory.
  bool ListTracks(const CAVIFileParser& file);
  /// Describes every stream and gets `audio` ready for them. An AC-3 track's first chunk is read and its cursor moved:
  /// all streams stand at 0 before.
  void MapTrackInfos(CAVIFileParser* file, AudioPath* audio);
  /// Frees the records and makes everything anew, for tracks of `file`; null when there will be none. Explicit, because
  /// a parser destroyed without Close keeps the records.
  void Clear(CAVIFileParser* file);

  int Count() const { return mTrackCount; }
  /// Milliseconds; 0 when no stream tells it.
  uint32_t DurationMs() const { return mDurationMs; }
  /// The record as the host asks for it; `track` is not compared with Count. Null without records, which is logged.
  TrackInfo* GetTrackInfo(unsigned long track) const;
  /// The stream's record; null for a stream number out of range.
  const TrackInfo* Track(int stream) const {
    return mTrackInfos && stream >= 0 && stream < mTrackCount ? &mTrackInfos[stream] : nullptr;
  }

  // The tracks played, ready for a call that reads them.
  const STrackInput& Video() const { return mVideo; }
  const STrackInput& Audio() const { return mAudio.input; }
  const STrackInput& Text() const { return mText.input; }
  /// Selects a stream; an unknown one selects the first of its kind. @return whether it is known
  bool SelectAudioTrack(int stream);
  bool SelectTextTrack(int stream);

 private:
  /// Streams of one kind in file order; those beyond N have a record yet cannot be selected.
  template <int N>
  struct SList {
    std::array<int32_t, N> aStream{};
    int32_t nCount = 0;
    int32_t nSelected = 0;  // position
    STrackInput input;      // of the stream selected

    void Append(int stream) {
      if (nCount < N) aStream[static_cast<size_t>(nCount++)] = stream;
    }
    int Selected() const { return nSelected < nCount ? aStream[static_cast<size_t>(nSelected)] : -1; }
    bool Select(int stream) {
      const auto end = aStream.begin() + nCount;
      const auto found = std::find(aStream.begin(), end, stream);
      nSelected = found == end ? 0 : static_cast<int32_t>(found - aStream.begin());
      return found != end;
    }
  };

  STrackInput Input(int stream) const { return {mFile, stream, Track(stream)}; }

  CAVIFileParser* mFile = nullptr;
  TrackInfo* mTrackInfos = nullptr;  // owned, mTrackCount records
  int32_t mTrackCount = 0;
  uint32_t mDurationMs = 0;
  SList<AVI_MAX_AUDIO_TRACKS> mAudio;
  SList<AVI_MAX_TEXT_TRACKS> mText;
  STrackInput mVideo;
};

#endif  // ZU_PLUGIN_TRACK_TABLE_H_
