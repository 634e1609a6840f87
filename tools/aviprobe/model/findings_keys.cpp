#include <fmt/format.h>

#include <algorithm>

#include "tools/aviprobe/model/block_reader.h"
#include "tools/aviprobe/model/findings.h"
#include "tools/aviprobe/model/key_unit.h"
#include "zu_parser_avi/codec_ids.h"

// Key frames: as the index marks them, as the pictures' own bytes have them, and how far apart they lie.

namespace {

// A seek lands half of it away on average, and encoders' own limit, 250 or 300 frames, is 10 to 12 s.
constexpr uint64_t kKeyGapMs = 12000;
// Parameter sets and an encoder's greeting stand in front of a picture's first byte.
constexpr size_t kProbeBytes = 1024;

struct SCodec {
  const char* pFourCCs;  ///< in upper case, with blanks between
  uint32_t nCodec;
};
// Codecs whose pictures tell, and reliably. H.264 of length prefixes has no start codes, so that of AVC1 is left alone.
constexpr SCodec kTelling[] = {
    {"XVID DIVX DX50 FMP4 MP4V MP4S M4S2 RMP4", AVI_CODEC_MPEG4},
    {"MPG1 MPG2", AVI_CODEC_MPEG12},
    {"H263 S263", AVI_CODEC_H263},
    {"VP80", AVI_CODEC_VP8},
    {"MJPG", AVI_CODEC_MJPEG},
    {"H264 X264", AVI_CODEC_H264},
};

char Upper(char c) { return c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c; }

/// The codec of a stream that tells key frames; none for all others.
std::optional<TrackInfo> TellingCodec(const SStreamHeader& header) {
  std::string name(header.Compression().Text());
  std::transform(name.begin(), name.end(), name.begin(), Upper);
  if (!header.IsVideo() || name.find(' ') != std::string::npos) return std::nullopt;
  for (const SCodec& codec : kTelling) {
    if (std::string_view(codec.pFourCCs).find(name) == std::string_view::npos) continue;
    TrackInfo info{};
    info.nTrackType = AVI_TRACK_VIDEO;
    info.nCodecId = codec.nCodec;
    return info;
  }
  return std::nullopt;
}

/// Looks into the chunks of one track.
class KeyProbe {
 public:
  KeyProbe(FileSource& source, const SFileMap& map, const STrackFacts& track)
      : m_Map(map), m_Info(TellingCodec(*track.pHeader)), m_Reader(source, 2 * kProbeBytes) {}

  std::optional<bool> IsKey(const SChunk& chunk) {
    if (!m_Info || chunk.nSize == 0) return std::nullopt;
    const auto there = static_cast<size_t>(m_Map.PresentBytes(chunk));
    const std::span<const uint8_t> unit = m_Reader.At(chunk.DataOffset(), std::min(there, kProbeBytes));
    return m_Info->nCodecId == AVI_CODEC_H264 ? IsH264Start(unit) : IsKeyUnit(*m_Info, unit);
  }

 private:
  const SFileMap& m_Map;
  std::optional<TrackInfo> m_Info;
  BlockReader m_Reader;
};

struct SMarks {
  uint64_t nEntries = 0, nKeys = 0, nNotKeys = 0;
  int64_t nFirstAt = 0;
  STally wrong{};  ///< marked as key frames, and their bytes say that they are none
};

SMarks ReadMarks(KeyProbe* probe, const Findings& findings, const STrackFacts& track) {
  SMarks marks;
  for (const SIndexRef& ref : findings.Facts().Entries()) {
    if (ref.nStream != track.nTrack || ref.nSize == 0) continue;
    if (marks.nEntries++ == 0) marks.nFirstAt = ref.nAt;
    marks.nKeys += ref.bKey;
    if (!ref.bKey || ref.nChunk < 0) continue;
    const SChunk& chunk = findings.Map().chunks[static_cast<size_t>(ref.nChunk)];
    if (chunk.bData && probe->IsKey(chunk) == false) marks.wrong.Hit(ref.nAt, findings.Facts().MsAt(chunk.nOffset));
  }
  return marks;
}

void ReportMarks(const SMarks& marks, const STrackFacts& track, Findings* findings) {
  if (marks.nEntries < 2) return;
  constexpr const char* kAdvice = "aviprobe remux FILE -o OUT.avi marks the key frames anew";
  if (marks.nKeys == 0) {
    findings->Add({.pCode = "keyflags-none",
                   .nOffset = marks.nFirstAt,
                   .nTrack = track.nTrack,
                   .sConsequence = "no frame is marked to start at: seeking jumps to the start only",
                   .sAdvice = kAdvice});
  } else if (marks.wrong.nCount > 0 && marks.nKeys == marks.nEntries) {
    findings->Add(
        {.pCode = "keyflags-all",
         .nOffset = marks.nFirstAt,
         .nTrack = track.nTrack,
         .sConsequence = fmt::format("all {} are marked to start at, {} of them cannot be: the picture is broken "
                                     "after a seek",
                                     CountText(marks.nEntries, "frame"), marks.wrong.nCount),
         .sAdvice = kAdvice});
  } else {
    findings->Add("index-mismatch", marks.wrong, track.nTrack,
                  CountText(marks.wrong.nCount, "entry") +
                      " marked as key frames that are none: the picture is broken after a seek there",
                  kAdvice);
  }
}

/// Chunks at which a seek can land: as the index marks them or, without one, as their bytes tell.
std::vector<bool> Landings(KeyProbe* probe, const Findings& findings, const STrackFacts& track) {
  const SFileMap& map = findings.Map();
  std::vector<bool> keys(track.chunks.size());
  if (findings.Facts().Entries().empty()) {
    for (size_t i = 0; i < keys.size(); ++i) keys[i] = probe->IsKey(map.chunks[track.chunks[i]]).value_or(true);
    return keys;
  }
  std::vector<bool> marked(map.chunks.size());
  for (const SIndexRef& ref : findings.Facts().Entries()) {
    if (ref.nChunk >= 0 && ref.bKey) marked[static_cast<size_t>(ref.nChunk)] = true;
  }
  for (size_t i = 0; i < keys.size(); ++i) keys[i] = marked[track.chunks[i]];
  return keys;
}

void CheckGaps(const std::vector<bool>& keys, const STrackFacts& track, Findings* findings) {
  STally far;
  uint64_t largest = 0, largestAt = 0;
  size_t last = 0;
  for (size_t i = 1; i <= keys.size(); ++i) {
    if (i < keys.size() && !keys[i]) continue;
    const uint64_t gap = track.MsBefore(i) - track.MsBefore(last);
    if (gap > kKeyGapMs) far.Hit(findings->Map().chunks[track.chunks[last]].nOffset);
    if (gap > largest) {
      largest = gap;
      largestAt = track.MsBefore(last);
    }
    last = i;
  }
  findings->Add("keyframe-gap", far, track.nTrack,
                fmt::format("no key frame for {} from {} on: a seek into it lands up to that far away",
                            ClockText(largest), ClockText(largestAt)),
                "encode with key frames at most 10 s apart");
}

}  // namespace

void CheckKeys(FileSource& source, Findings* findings) {
  for (const STrackFacts& track : findings->Facts().Tracks()) {
    if (!track.pHeader->IsVideo()) continue;
    KeyProbe probe(source, findings->Map(), track);
    const SMarks marks = ReadMarks(&probe, *findings, track);
    ReportMarks(marks, track, findings);
    const bool unmarked = marks.nEntries > 0 && marks.nKeys == 0;
    if (!unmarked) CheckGaps(Landings(&probe, *findings, track), track, findings);
  }
}
