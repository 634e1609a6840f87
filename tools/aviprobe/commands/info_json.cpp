#include <fmt/format.h>

#include <algorithm>
#include <cmath>

#include "tools/aviprobe/commands/info_facts.h"
#include "tools/aviprobe/text/names.h"

namespace {

/// Whole milliseconds or bits per second.
Json Rounded(const std::optional<double>& value) { return value ? Json(std::llround(std::min(*value, 1e15))) : Json(); }

void AddTypeFields(const SInfoTrack& track, Json* json) {
  const TrackInfo& info = track.info;
  Json& to = *json;
  switch (info.nTrackType) {
    case AVI_TRACK_VIDEO:
      to["width"] = info.video.nWidth;
      to["height"] = info.video.nHeight;
      to["frame_rate"] = info.video.nFrameRate;
      break;
    case AVI_TRACK_AUDIO:
      to["sample_rate"] = info.audio.nSampleRate;
      to["channels"] = info.audio.nChannels;
      to["bits_per_sample"] = info.audio.nBitsPerSample;
      to["bit_rate"] = info.audio.nBitRate;
      to["block_align"] = info.audio.nBlockAlign;
      to["extra_bytes"] = info.audio.nExtraSize;
      to["delivered_bits"] = track.IsNarrowed() ? 16 : info.audio.nBitsPerSample;
      break;
    case AVI_TRACK_TEXT:
      to["name"] = track.sTextName ? Json(*track.sTextName) : Json();
      to["bitmap"] = info.text.bSubtitle != 0;
      to["alpha"] = info.text.bSubtitleAlpha != 0;
      break;
  }
}

/// What the stream's headers say.
Json DeclaredJson(const SStreamHeader& header) {
  const std::optional<double> seconds = header.DeclaredSeconds();
  Json json = {{"kind", Printable(header.kind.Text())},
               {"handler", Printable(header.handler.Text())},
               {"rate", header.nRate},
               {"scale", header.nScale},
               {"length", header.nLength},
               {"start", header.nStart},
               {"sample_size", header.nSampleSize},
               {"duration_ms", seconds ? Rounded(*seconds * 1000) : Json()}};
  if (header.IsVideo()) {
    json["fourcc"] = Printable(header.Compression().Text());
    json["width"] = header.Width();
    json["height"] = header.Height();
  }
  if (header.IsAudio()) {
    json["format_tag"] = header.FormatTag();
    json["bytes_per_second"] = header.AvgBytesPerSec();
  }
  return json;
}

Json PresentJson(const SStreamMeasure& present) {
  return {{"chunks", present.nChunks},
          {"empty", present.nEmpty},
          {"bytes", present.nBytes},
          {"duration_ms", Rounded(present.dMs)},
          {"bit_rate", Rounded(present.BitRate())}};
}

Json KeysJson(const SKeyFrames& keys) {
  const bool several = keys.nKeys > 1;
  return {{"entries", keys.nEntries},
          {"count", keys.nKeys},
          {"interval_min", several ? Json(keys.nShortest) : Json()},
          {"interval_avg", several ? Json(keys.dAverage) : Json()},
          {"interval_max", several ? Json(keys.nLongest) : Json()}};
}

Json DeliveredJson(const SDelivered& delivered) {
  const bool any = delivered.nUnits > 0;
  return {{"units", delivered.nUnits},
          {"bytes", delivered.nBytes},
          {"empty_reads", delivered.nEmptyReads},
          {"first_ms", any ? Json(delivered.nFirstMs) : Json()},
          {"last_ms", any ? Json(delivered.nLastMs) : Json()},
          {"end", EndingName(delivered.result.ending)},
          {"status", delivered.result.nStatus}};
}

Json TrackJson(const SInfoTrack& track) {
  Json json = {{"track", track.nTrack},           {"type", TrackTypeName(track.info.nTrackType)},
               {"codec_id", track.info.nCodecId}, {"codec", track.sCodec},
               {"played", track.bPlayed},         {"seekable", track.bSeekable}};
  AddTypeFields(track, &json);
  json["config_bytes"] = track.nConfig;
  json["config"] = fmt::format("{:02x}", fmt::join(track.config, ""));
  json["index_entries"] = track.nIndexEntries;
  json["declared"] = track.pHeader ? DeclaredJson(*track.pHeader) : Json();
  json["present"] = track.pHeader ? PresentJson(track.present) : Json();
  json["key_frames"] = track.keys ? KeysJson(*track.keys) : Json();
  if (track.delivered) json["delivered"] = DeliveredJson(*track.delivered);
  return json;
}

}  // namespace

void PrintInfoJson(const SInfo& info) {
  Json tracks = Json::array();
  for (const SInfoTrack& track : info.tracks) tracks.push_back(TrackJson(track));
  PrintJsonLine({{"record", "file"},
                 {"file", info.sPath},
                 {"duration_ms", info.nDurationMs},
                 {"indexed", info.IsIndexed()},
                 {"index", info.sIndexKind},
                 {"tracks", tracks},
                 {"bytes", info.map.nSize},
                 {"present_ms", Rounded(info.PresentMs())},
                 {"index_entries", info.nIndexEntries},
                 {"legacy_index", {{"present", info.map.idx1.has_value()}, {"entries", info.map.legacy.size()}}},
                 {"opendml_index", {{"present", info.HasOpenDml()}, {"entries", info.map.odml.size()}}}});
}
