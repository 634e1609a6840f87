#include "tools/aviprobe/model/playback.h"

#include <fmt/format.h>

#include <algorithm>
#include <limits>

#include "tools/aviprobe/model/key_unit.h"

namespace {

/// A copy that outlives the parser.
TrackInfo WithoutPointers(TrackInfo info) {
  if (info.nTrackType == AVI_TRACK_AUDIO) info.audio.pExtraData = nullptr;
  if (info.nTrackType == AVI_TRACK_TEXT) info.text.pSubtitleName = nullptr;
  return info;
}

/// One run through one track.
class TrackRun {
 public:
  TrackRun(const SPlayOptions& options, uint32_t track, const TrackInfo& info, std::function<void(uint32_t)> onSecond)
      : m_Options(options), m_OnSecond(std::move(onSecond)) {
    m_Track.nTrack = track;
    m_Track.info = WithoutPointers(info);
    m_Track.nHash = kHashStart;
  }

  void Take(const SUnit& unit) {
    SPlayedUnit played;
    played.nPosition = unit.nPosition;
    played.nTimeMs = static_cast<uint32_t>(unit.nTimeMs);
    played.nBytes = static_cast<uint32_t>(unit.payload.size());
    played.nReads = unit.nReads;
    if (const std::optional<bool> key = IsKeyUnit(m_Track.info, unit.payload)) {
      played.bKey = *key;
      played.bKeyKnown = true;
    }
    if (m_Options.bHash) {
      played.nHash = Hash(unit.payload);
      m_Track.nHash = AddUnitHash(played.nHash, m_Track.nHash);
    }
    if (m_Track.nUnits++ == 0) m_Track.nFirstMs = played.nTimeMs;
    m_Track.nLastMs = played.nTimeMs;
    m_Track.nBytes += played.nBytes;
    m_nLargest = std::max(m_nLargest, played.nBytes);
    if (played.nTimeMs / 1000 != m_nSecond) {
      m_nSecond = played.nTimeMs / 1000;
      m_OnSecond(played.nTimeMs);
    }
    if (m_Options.onUnit) m_Options.onUnit(m_Track.nTrack, unit, played);
    if (m_Options.bUnits) m_Track.units.push_back(played);
  }

  STrackPlayback Finish(const SPullResult& result, bool growing) {
    m_Track.nEmptyReads = result.nEmptyReads;
    m_Track.ending = result.ending;
    m_Track.nStatus = result.nStatus;
    m_Track.nTooLarge = result.nTooLarge;
    if (growing && m_nLargest > kUsualBuffer) m_Track.nGrown = m_nLargest;
    if (m_Options.onTrack) m_Options.onTrack(m_Track, result);
    return std::move(m_Track);
  }

 private:
  const SPlayOptions& m_Options;
  std::function<void(uint32_t timeMs)> m_OnSecond;
  STrackPlayback m_Track;
  uint32_t m_nLargest = 0;
  uint32_t m_nSecond = std::numeric_limits<uint32_t>::max();
};

void PlayTracks(const Host& host, const MediaFile& file, const std::vector<uint32_t>& tracks,
                const SPlayOptions& options, SPlayback* playback) {
  for (const uint32_t track : tracks) {
    const auto tell = [&](const std::string& place, double share) {
      if (options.onStage) options.onStage(fmt::format("playing track {}{}", track, place));
      if (options.onDone) {
        options.onDone((static_cast<double>(playback->tracks.size()) + share) / static_cast<double>(tracks.size()));
      }
    };
    tell("", 0);
    TrackRun run(options, track, file.Track(track), [&](uint32_t timeMs) {
      const double length = static_cast<double>(std::max(playback->nDurationMs, 1ul));
      tell(" at " + ClockText(timeMs), std::min(timeMs / length, 1.0));
    });
    const SPullResult result = host.PullTrack(file, track, [&](const SUnit& unit) {
      run.Take(unit);
      return true;
    });
    playback->tracks.push_back(run.Finish(result, !host.Options().nBuffer));
  }
}

}  // namespace

uint64_t AddUnitHash(uint64_t unitHash, uint64_t hash) {
  uint8_t bytes[8];
  for (int i = 0; i < 8; ++i) bytes[i] = static_cast<uint8_t>(unitHash >> (8 * i));
  return Hash(bytes, hash);
}

std::vector<uint32_t> PlayedTracks(const MediaFile& file, const std::optional<uint32_t>& only) {
  if (only) {
    file.CheckPlays(*only);
    return {*only};
  }
  std::vector<uint32_t> tracks;
  for (const uint32_t type : {AVI_TRACK_VIDEO, AVI_TRACK_AUDIO, AVI_TRACK_TEXT}) {
    for (uint32_t track = 0; track < file.TrackCount(); ++track) {
      if (file.Track(track).nTrackType == type && file.Plays(track)) tracks.push_back(track);
    }
  }
  return tracks;
}

SPlayback Play(const Host& host, const std::string& path, const SPlayOptions& options) {
  SPlayback playback;
  if (options.onStage) options.onStage("opening");
  try {
    const MediaFile file = host.Open(path);
    playback.bOpened = true;
    playback.nDurationMs = file.Duration();
    playback.nTracks = file.TrackCount();
    const std::vector<uint32_t> tracks = PlayedTracks(file, options.nTrack);
    if (options.onOpened) options.onOpened(file);
    PlayTracks(host, file, tracks, options, &playback);
    playback.nReads = file.Source().Reads();
    playback.nBytesRead = file.Source().BytesRead();
  } catch (const RefusedError& error) {
    playback.nOpenStatus = error.nStatus;
    playback.sRefusal = error.what();
  }
  return playback;
}
