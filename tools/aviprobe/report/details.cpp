#include "tools/aviprobe/report/details.h"

#include <fmt/format.h>

#include <algorithm>
#include <optional>

#include "tools/aviprobe/text/names.h"

namespace {

constexpr size_t kHeaders = 40;  // shown at most: a file may hold any number of index chunks
constexpr size_t kFields = 200;  // of each
constexpr size_t kHexViews = 50;
constexpr int64_t kHexBefore = 32, kHexBytes = 64;
constexpr unsigned long kSeeks = 20;

Json Fields(const std::vector<SField>& fields) {
  Json out = Json::array();
  for (size_t i = 0; i < std::min(fields.size(), kFields); ++i) {
    const SField& field = fields[i];
    out.push_back({{"offset", field.nOffset}, {"name", field.sName}, {"raw", field.sRaw}, {"meaning", field.sMeaning}});
  }
  return out;
}

std::string ReadHex(FileSource& source, int64_t offset) {
  uint8_t bytes[kHexBytes];
  uint64_t length = sizeof bytes;
  if (source.ReadAt(offset, bytes, &length) != 0) return {};
  std::string hex;
  for (uint64_t i = 0; i < std::min<uint64_t>(length, sizeof bytes); ++i) hex += fmt::format("{:02x}", bytes[i]);
  return hex;
}

/// What a seek is tried in: pictures if there are any.
std::optional<uint32_t> SeekType(const MediaFile& file) {
  for (const uint32_t type : {AVI_TRACK_VIDEO, AVI_TRACK_AUDIO}) {
    if (file.FirstTrack(type)) return type;
  }
  return std::nullopt;
}

}  // namespace

Json HeaderDetails(FileSource& source, const SFileMap& map) {
  Json out = Json::array();
  for (size_t i = 0; i < map.chunks.size() && out.size() < kHeaders; ++i) {
    if (map.chunks[i].bList || map.chunks[i].bData) continue;
    const std::vector<SField> fields = DecodeFields(source, map, i);
    if (fields.empty()) continue;
    out.push_back(
        {{"chunk", Printable(map.chunks[i].id.Text())}, {"offset", map.chunks[i].nOffset}, {"fields", Fields(fields)}});
  }
  return out;
}

Json HexDetails(FileSource& source, std::span<const SFinding> findings) {
  Json out = Json::array();
  for (size_t i = 0; i < findings.size() && out.size() < kHexViews; ++i) {
    if (!findings[i].nOffset || *findings[i].nOffset < 0) continue;
    const int64_t at = *findings[i].nOffset;
    const int64_t from = std::max<int64_t>(0, (at - kHexBefore) / 16 * 16);
    const std::string hex = ReadHex(source, from);
    if (hex.empty()) continue;
    out.push_back(
        {{"finding", i}, {"offset", from}, {"bytes", hex}, {"mark_offset", at}, {"mark_bytes", kChunkHeaderBytes}});
  }
  return out;
}

Json SeekDetails(const Host& host, const std::string& path) {
  const MediaFile file = host.Open(path);
  const std::optional<uint32_t> type = SeekType(file);
  if (!type) return {{"words", "There is no track to seek in."}};
  const uint32_t track = *file.FirstTrack(*type);
  const TrackInfo& info = file.Track(track);
  if (!(*type == AVI_TRACK_VIDEO ? info.video.bSeekable : info.audio.bSeekable))
    return {{"words", "No index: seeking is not possible."}};
  file.Select(track);
  Json places = Json::array(), bytes = Json::array(), reads = Json::array();
  for (unsigned long i = 0; i < kSeeks; ++i) {
    const unsigned long at = file.Duration() / kSeeks * i + file.Duration() / kSeeks / 2;
    const uint64_t readsBefore = file.Source().Reads(), bytesBefore = file.Source().BytesRead();
    file.Parser().Seek(at, static_cast<int>(*type), 0);
    Json reached;
    host.Pull(file, *type, [&](const SUnit& unit) {
      reached = unit.nTimeMs;
      return false;
    });
    const uint64_t nReads = file.Source().Reads() - readsBefore, nBytes = file.Source().BytesRead() - bytesBefore;
    places.push_back({{"asked_ms", at}, {"reached_ms", reached}, {"reads", nReads}, {"bytes", nBytes}});
    bytes.push_back({at, static_cast<double>(nBytes) / 1000});
    reads.push_back({at, nReads});
  }
  return {{"unit", "kB"},
          {"lines",
           {{{"name", "read"}, {"kind", "video"}, {"points", bytes}},
            {{"name", "in"}, {"unit", "source reads"}, {"kind", "video"}, {"points", reads}}}},
          {"places", places}};
}
