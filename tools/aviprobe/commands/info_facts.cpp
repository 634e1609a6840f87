#include "tools/aviprobe/commands/info_facts.h"

#include <fmt/format.h>

#include <algorithm>

#include "tools/aviprobe/host/core_view.h"
#include "tools/aviprobe/text/names.h"

namespace {

SInfoTrack DescribeTrack(const Host& host, const MediaFile& file, uint32_t track) {
  SInfoTrack facts;
  facts.nTrack = track;
  facts.info = file.Track(track);
  facts.sCodec = CodecName(facts.info.nTrackType, facts.info.nCodecId);
  facts.bPlayed = file.Plays(track);
  facts.bSeekable = HasSeeks(facts.info);
  const MediaFile::SConfig config = file.ReadConfig(track, host.Buffer());
  facts.nConfig = config.nLength;
  facts.config.assign(config.bytes.begin(), config.bytes.end());
  if (facts.info.nTrackType == AVI_TRACK_TEXT) {
    if (facts.info.text.pSubtitleName) facts.sTextName = facts.info.text.pSubtitleName;
    facts.info.text.pSubtitleName = nullptr;
  }
  if (facts.IsAudio()) facts.info.audio.pExtraData = nullptr;
  return facts;
}

SDelivered PlayTrack(const Host& host, const MediaFile& file, uint32_t track) {
  SDelivered delivered;
  delivered.result = host.PullTrack(file, track, [&](const SUnit& unit) {
    if (delivered.nUnits++ == 0) delivered.nFirstMs = unit.nTimeMs;
    delivered.nLastMs = unit.nTimeMs;
    delivered.nBytes += unit.payload.size();
    return true;
  });
  delivered.nEmptyReads = delivered.result.nEmptyReads;
  return delivered;
}

/// What no host can ask for: the library's own classes tell it, from a parse of their own. They stay silent, the
/// library having said it all.
void AddIndexFacts(const Host& host, SInfo* info) {
  const CoreView view(info->sPath, host.Options(), 0);
  info->sIndexKind = view.IndexKind();
  for (SInfoTrack& track : info->tracks) {
    if (!view.HasIndex() || track.nTrack >= view.TrackCount()) continue;
    track.nIndexEntries = view.EntryCount(track.nTrack);
    info->nIndexEntries += track.nIndexEntries;
  }
}

void AddMapFacts(SInfo* info) {
  FileSource source(info->sPath, false);
  info->map = MapFile(source, info->sPath);
  const std::vector<SStreamMeasure> measures = MeasureStreams(info->map);
  const bool openDml = info->sIndexKind == "OpenDML";
  const std::vector<SIndexRef>& entries = openDml ? info->map.odml : info->map.legacy;
  for (SInfoTrack& track : info->tracks) {
    if (track.nTrack >= info->map.streams.size()) continue;
    track.pHeader = &info->map.streams[track.nTrack];
    track.present = measures[track.nTrack];
    if (!track.IsVideo() || !info->IsIndexed()) continue;
    track.keys = MeasureKeyFrames(entries, static_cast<int16_t>(track.nTrack));
  }
}

}  // namespace

std::optional<double> SInfo::PresentMs() const {
  std::optional<double> longest;
  for (const SInfoTrack& track : tracks) {
    if (!track.IsVideo() && !track.IsAudio()) continue;
    if (track.present.dMs) longest = std::max(longest.value_or(0), *track.present.dMs);
  }
  return longest;
}

SInfo GatherInfo(const Host& host, const std::string& path, bool play, Progress& progress) {
  SInfo info;
  info.sPath = path;
  progress.Stage("opening");
  const MediaFile file = host.Open(path);
  info.nDurationMs = file.Duration();
  for (uint32_t track = 0; track < file.TrackCount(); ++track) {
    info.tracks.push_back(DescribeTrack(host, file, track));
    info.bSeekable |= info.tracks.back().bSeekable;
  }
  progress.Stage("reading the index");
  AddIndexFacts(host, &info);
  progress.Stage("reading the chunks");
  AddMapFacts(&info);
  for (SInfoTrack& track : info.tracks) {
    if (!play || !track.bPlayed) continue;
    progress.Stage(fmt::format("playing track {}", track.nTrack));
    track.delivered = PlayTrack(host, file, track.nTrack);
  }
  return info;
}
