#include "tools/aviprobe/model/finding.h"

#include <algorithm>
#include <stdexcept>

namespace {

constexpr auto kNote = ESeverity::kNote;
constexpr auto kWarning = ESeverity::kWarning;
constexpr auto kError = ESeverity::kError;

// An error costs what the viewer came for; a warning costs seeking, a moment or another player; a note nothing here.
constexpr SFindingKind kKinds[] = {
    {"unreadable", kError, "the file cannot be read"},
    {"not-an-avi", kError, "the file does not begin as an AVI file does"},
    {"header-missing", kError, "a header or list that every player needs is not there"},
    {"riff-truncated", kError, "the file ends before what it announces"},
    {"size-zero", kWarning, "a list or header of size 0, as a recording that broke off leaves it"},
    {"chunk-overrun", kWarning, "a chunk runs past the end of its list"},
    {"list-broken", kWarning, "a list without a form type, or nested too deep to go on"},
    {"no-pad", kWarning, "the pad byte behind an odd chunk is missing"},
    {"garbage", kWarning, "bytes between chunks that are none; the chunks go on behind them"},
    {"sync-lost", kError, "the chunks cannot be followed by their sizes"},
    {"trailing-data", kNote, "bytes behind the end of the AVI"},
    {"unknown-chunk-id", kNote, "a chunk whose name AVI does not know, or not there"},
    {"stream-count", kError, "the main header announces another number of streams than there are"},
    {"orphan-chunks", kWarning, "data of a stream that has no header"},
    {"header-length-differs", kWarning, "the length in a header is not that of the data"},
    {"rate-zero", kError, "a stream's rate or scale is 0"},
    {"rate-implausible", kError, "a picture rate at which nothing is shown as it was recorded"},
    {"format-contradicts", kWarning, "numbers of a PCM format that do not agree with each other"},
    {"height-top-down", kWarning, "a negative height, of which the library makes a large one"},
    {"no-track", kError, "the library opens the file and finds nothing in it to play"},
    {"stream-not-played", kWarning, "a stream that the library does not know as picture, sound or text"},
    {"second-picture", kNote, "a further picture, which the library only describes"},
    {"codec-unknown", kWarning, "the library has no codec for a stream, or no use for what its format says"},
    {"index-missing", kWarning, "there is no index"},
    {"index-short", kWarning, "chunks are not in the index"},
    {"index-zero", kWarning, "an index that is empty, or entries of zeros"},
    {"index-past-end", kWarning, "index entries that point outside the file"},
    {"index-mismatch", kWarning, "index entries that do not fit the chunks they name"},
    {"odml-broken", kWarning, "part of an OpenDML index is missing or unreadable"},
    {"keyflags-none", kWarning, "no frame is marked as a key frame"},
    {"keyflags-all", kWarning, "all frames are marked as key frames, and they are not"},
    {"keyframe-gap", kNote, "key frames lie far apart"},
    {"empty-chunks", kNote, "many chunks of a stream are empty"},
    {"audio-drift", kWarning, "sound and picture run at different speeds"},
    {"audio-short", kWarning, "the sound ends before the picture"},
    {"video-short", kNote, "the picture ends before the sound"},
    {"audio-clock", kWarning, "the library's times of the sound run at another speed than its header's"},
    {"gap", kWarning, "a stretch of time without any picture or sound of a track"},
    {"interleave-far", kWarning, "sound and picture of one moment lie far apart in the file"},
    {"chunk-over-buffer", kWarning, "a chunk is larger than the buffer of a usual player"},
    {"buffer-size-small", kNote, "a chunk is larger than the buffer size that its header suggests"},
    {"library-refuses", kError, "the library does not open the file"},
    {"track-failed", kError, "the library ends a track with an error"},
    {"delivered-garbage", kError, "the library delivers bytes that are no unit of the track"},
    {"delivered-less-than-present", kError, "the library delivers less of a track than the file holds"},
    {"library-aborts", kError, "the library ends the player's process, or never comes back"},
};

}  // namespace

std::span<const SFindingKind> FindingKinds() { return kKinds; }

const SFindingKind& FindingKind(std::string_view code) {
  const auto* found =
      std::find_if(std::begin(kKinds), std::end(kKinds), [&](const SFindingKind& kind) { return kind.pCode == code; });
  if (found == std::end(kKinds)) throw std::logic_error("no such finding");
  return *found;
}

const char* SeverityName(ESeverity severity) {
  constexpr const char* kNames[] = {"note", "warning", "error"};
  return kNames[static_cast<int>(severity)];
}
