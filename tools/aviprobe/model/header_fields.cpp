#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <iterator>
#include <optional>
#include <span>

#include "tools/aviprobe/model/chunk_data.h"
#include "tools/aviprobe/model/chunk_names.h"
#include "tools/aviprobe/model/field_reader.h"
#include "tools/aviprobe/model/file_map.h"
#include "tools/aviprobe/model/format_fields.h"
#include "tools/aviprobe/model/index_fields.h"

namespace {

constexpr size_t kMostBytes = 4096;  // of a chunk that are looked at

struct SFlag {
  uint32_t nBit;
  const char* pMeaning;
};
constexpr SFlag kMainFlags[] = {{0x10, "has an index"},    {0x20, "the index gives the order"},
                                {0x100, "is interleaved"}, {0x800, "key frames marked rightly"},
                                {0x10000, "capture file"}, {0x20000, "copyrighted"}};
constexpr SFlag kStreamFlags[] = {{0x1, "off unless chosen"}, {0x10000, "the palette changes"}};

std::string FlagText(uint64_t flags, std::span<const SFlag> known) {
  std::string text;
  const auto add = [&](const std::string& more) { text += (text.empty() ? "" : ", ") + more; };
  for (const SFlag& flag : known) {
    if (flags & flag.nBit) add(flag.pMeaning);
    flags &= ~uint64_t{flag.nBit};
  }
  if (flags) add(fmt::format("unknown 0x{:x}", flags));
  return text;
}

/// "29.97 frames/s (30000/1001)".
std::string RateText(uint64_t rate, uint64_t scale, const char* unit) {
  if (scale == 0) return "scale 0: no rate";
  if (rate == 0) return "rate 0: no time";
  const double quotient = static_cast<double>(rate) / static_cast<double>(scale);
  const std::string text = fmt::format("{:.7g} {}/s", std::round(quotient * 1000) / 1000, unit);
  return scale == 1 ? text : fmt::format("{} ({}/{})", text, rate, scale);
}

void ReadMainFields(FieldReader* reader) {
  const uint64_t frame = reader->Number("dwMicroSecPerFrame", 4);
  reader->Means(frame ? fmt::format("{:.7g} frames/s", std::round(1e9 / static_cast<double>(frame)) / 1000)
                      : "no rate");
  reader->Number("dwMaxBytesPerSec", 4);
  reader->Number("dwPaddingGranularity", 4);
  reader->Means(FlagText(reader->Hex("dwFlags", 4), kMainFlags));
  for (const char* name :
       {"dwTotalFrames", "dwInitialFrames", "dwStreams", "dwSuggestedBufferSize", "dwWidth", "dwHeight"}) {
    reader->Number(name, 4);
  }
}

const char* KindName(const FourCC& kind) {
  if (kind == FourCC("vids")) return "video";
  if (kind == FourCC("auds")) return "audio";
  if (kind == FourCC("txts")) return "text";
  if (kind == FourCC("mids")) return "MIDI";
  if (kind == FourCC("iavs")) return "video and audio in one";
  return "";
}

void ReadStreamFields(FieldReader* reader) {
  const FourCC kind = reader->Code("fccType");
  reader->Means(KindName(kind));
  reader->Code("fccHandler");
  reader->Means(FlagText(reader->Hex("dwFlags", 4), kStreamFlags));
  reader->Number("wPriority", 2);
  reader->Number("wLanguage", 2);
  reader->Number("dwInitialFrames", 4);
  const uint64_t scale = reader->Number("dwScale", 4);
  const uint64_t rate = reader->Number("dwRate", 4);
  reader->Means(RateText(rate, scale, kind == FourCC("vids") ? "frames" : "units"));
  reader->Number("dwStart", 4);
  const uint64_t length = reader->Number("dwLength", 4);
  if (scale && rate) {
    const double seconds = static_cast<double>(length) * static_cast<double>(scale) / static_cast<double>(rate);
    reader->Means(fmt::format("{:.3f} s", seconds));
  }
  reader->Number("dwSuggestedBufferSize", 4);
  if (reader->Signed("dwQuality", 4) == -1) reader->Means("not stated");
  if (reader->Number("dwSampleSize", 4) == 0) reader->Means("units of any size");
  for (const char* name : {"rcFrame.left", "rcFrame.top", "rcFrame.right", "rcFrame.bottom"}) reader->Signed(name, 2);
}

void ReadVideoProperties(FieldReader* reader) {
  reader->Number("VideoFormatToken", 4);
  reader->Number("VideoStandard", 4);
  reader->Number("dwVerticalRefreshRate", 4);
  reader->Number("dwHTotalInT", 4);
  reader->Number("dwVTotalInLines", 4);
  const uint64_t aspect = reader->Hex("dwFrameAspectRatio", 4);
  reader->Means(fmt::format("{}:{}", aspect >> 16, aspect & 0xFFFF));
  reader->Number("dwFrameWidthInPixels", 4);
  reader->Number("dwFrameHeightInLines", 4);
  reader->Number("nbFieldPerFrame", 4);
}

void ReadFormatFields(const SFileMap& map, const SChunk& chunk, FieldReader* reader) {
  const auto stream = std::find_if(map.streams.begin(), map.streams.end(), [&](const SStreamHeader& s) {
    return s.nStrfOffset == std::optional(chunk.DataOffset());
  });
  if (stream != map.streams.end() && stream->IsVideo()) return ReadVideoFormatFields(reader);
  if (stream != map.streams.end() && stream->IsAudio()) return ReadAudioFormatFields(reader);
  reader->Raw("data");
}

}  // namespace

std::vector<SField> DecodeFields(FileSource& source, const SFileMap& map, size_t number) {
  const SChunk& chunk = map.Chunk(number);
  const bool chunkIndex = !chunk.bData && chunk.id.Text().starts_with("ix") && StreamOfId(chunk.id) != kNoStream;
  const FourCC kDecoded[] = {"avih", "strh", "strf", "strn", "vprp", "dmlh", "indx", "idx1"};
  if (!chunkIndex && std::find(std::begin(kDecoded), std::end(kDecoded), chunk.id) == std::end(kDecoded)) return {};
  const std::vector<uint8_t> bytes = ReadOwnData(source, map, number, kMostBytes);
  FieldReader reader(bytes, chunk.DataOffset());
  if (chunk.id == FourCC("avih")) ReadMainFields(&reader);
  if (chunk.id == FourCC("strh")) ReadStreamFields(&reader);
  if (chunk.id == FourCC("strf")) ReadFormatFields(map, chunk, &reader);
  if (chunk.id == FourCC("strn")) reader.Text("szName");
  if (chunk.id == FourCC("vprp")) ReadVideoProperties(&reader);
  if (chunk.id == FourCC("dmlh")) reader.Number("dwTotalFrames", 4);
  if (chunk.id == FourCC("idx1")) ReadLegacyFields(map, &reader);
  if (chunk.id == FourCC("indx") || chunkIndex) ReadOdmlFields(map, &reader);
  return std::move(reader).Fields();
}
