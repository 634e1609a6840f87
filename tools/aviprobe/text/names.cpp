#include "tools/aviprobe/text/names.h"

#include <fmt/format.h>

#include <algorithm>
#include <iterator>

#include "zu_parser_avi/codec_ids.h"
#include "zu_parser_avi/status.h"
#include "zu_parser_avi/track_info.h"

namespace {

struct SName {
  uint32_t nId;
  const char* pName;
};

constexpr SName kCodecs[] = {
    {AVI_CODEC_UNKNOWN_VIDEO, "unknown"},  // subtitles on a text track
    {AVI_CODEC_MPEG12, "MPEG-1/2"},
    {AVI_CODEC_MPEG4, "MPEG-4"},
    {AVI_CODEC_H263, "H.263"},
    {AVI_CODEC_H264, "H.264"},
    {AVI_CODEC_WMV1, "WMV1"},
    {AVI_CODEC_WMV2, "WMV2"},
    {AVI_CODEC_WMV3, "WMV3"},
    {AVI_CODEC_VC1, "VC-1"},
    {AVI_CODEC_MP43, "MP43"},
    {AVI_CODEC_MP42, "MP42"},
    {AVI_CODEC_MJPEG, "MJPEG"},
    {AVI_CODEC_VP6, "VP6"},
    {AVI_CODEC_VP7, "VP7"},
    {AVI_CODEC_VP8, "VP8"},
    {AVI_CODEC_DIVX3, "DivX 3"},
    {AVI_CODEC_MP4V, "MP4V"},
    {AVI_CODEC_THEORA, "Theora"},
    {AVI_CODEC_DIVX, "DivX"},
    {AVI_CODEC_DIVX5, "DivX 5"},
    {AVI_CODEC_DXMF, "DXMF"},
    {AVI_CODEC_XVID, "Xvid"},
    {AVI_CODEC_VP9, "VP9"},
    {AVI_CODEC_AUDIO_DISABLED, "PCM, not playable"},
    {AVI_CODEC_AAC, "AAC"},
    {AVI_CODEC_MP3, "MP3"},
    {AVI_CODEC_AC3, "AC-3"},
    {AVI_CODEC_EAC3, "E-AC-3"},
    {AVI_CODEC_DTS, "DTS"},
    {AVI_CODEC_PCM, "PCM"},
    {AVI_CODEC_WMA1, "WMA1"},
    {AVI_CODEC_WMA2, "WMA2"},
    {AVI_CODEC_ADPCM, "ADPCM"},
    {AVI_CODEC_MP2, "MP2"},
    {AVI_CODEC_ALAW, "A-law"},
    {AVI_CODEC_MULAW, "mu-law"},
    {AVI_CODEC_AUDIO_0045, "format 0x0045"},
};

constexpr const char* kTrackTypes[] = {"none", "video", "audio", "text"};

}  // namespace

const char* TrackTypeName(uint32_t trackType) {
  return kTrackTypes[trackType < std::size(kTrackTypes) ? trackType : AVI_TRACK_NONE];
}

const char* CodecName(uint32_t trackType, uint32_t codecId) {
  if (trackType == AVI_TRACK_TEXT && codecId == AVI_CODEC_TEXT) return "subtitle";
  const auto* found = std::find_if(std::begin(kCodecs), std::end(kCodecs), [&](SName n) { return n.nId == codecId; });
  return found == std::end(kCodecs) ? "unknown" : found->pName;
}

std::string Printable(std::string_view text) {
  std::string shown;
  for (const char character : text) {
    const auto c = static_cast<unsigned char>(character);
    shown += c >= 0x20 && c < 0x7F ? std::string(1, character) : fmt::format("\\x{:02x}", c);
  }
  return shown;
}

std::string StatusText(int status) {
  const char* words = "no known meaning";
  switch (status) {
    case AVI_OK:
      words = "success";
      break;
    case AVI_ERROR:
      words = "chunk above the buffer, or nothing there";
      break;
    case AVI_IO_ERROR:
      words = "read failed";
      break;
    case AVI_TOO_MANY_EMPTY_CHUNKS:
      words = "too many empty chunks in a row";
      break;
    case AVI_OUT_OF_MEMORY:
      words = "out of memory";
      break;
    case AVI_END_OF_STREAM:
      words = "end of stream";
      break;
    case AVI_OPEN_FAILED:
      words = "cannot be opened";
      break;
  }
  return fmt::format("{} ({})", status, words);
}
