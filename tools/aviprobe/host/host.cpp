#include "tools/aviprobe/host/host.h"

#include <fmt/format.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <new>
#include <utility>

#include "tools/aviprobe/text/names.h"
#include "tools/aviprobe/text/shown.h"

namespace {

constexpr int kMaxEmptyReads = 1000;  // in a row; a real host would hang on a track that exceeds them

const TrackInfo kNoTrack{};

struct SPull {
  int nStatus = AVI_END_OF_STREAM;
  unsigned long nLength = 0, nTimeMs = 0;
};

SPull PullOnce(const MediaFile& file, uint32_t trackType, std::span<uint8_t> buffer) {
  IParser& parser = file.Parser();
  SPull pull;
  file.Source().BeginCall(buffer);
  switch (trackType) {
    case AVI_TRACK_VIDEO:
      pull.nStatus = parser.GetVideoData(buffer.data(), &pull.nLength, &pull.nTimeMs, buffer.size(), false);
      break;
    case AVI_TRACK_AUDIO:
      pull.nStatus = parser.GetAudioData(buffer.data(), &pull.nLength, &pull.nTimeMs, buffer.size());
      break;
    case AVI_TRACK_TEXT:
      pull.nStatus = parser.GetTextData(buffer.data(), &pull.nLength, &pull.nTimeMs, buffer.size());
      break;
  }
  return pull;
}

/// The most that one unit of the file can have.
size_t LargestUnit(const MediaFile& file) {
  return std::min(static_cast<size_t>(std::max<int64_t>(file.Source().Size(), 1)), kLargestBuffer);
}

}  // namespace

MediaFile::MediaFile(const ParserLibrary& library, const std::string& path, const SSimulation& simulation)
    : m_sPath(path),
      m_pSource(std::make_unique<SimulatedSource>(path, simulation)),
      m_pParser(library.CreateParser()),
      m_nTracks(0) {
  if (const int status = m_pParser->Open(m_pSource.get()); status != AVI_OK) {
    if (m_pSource->HasFailed()) throw m_pSource->ParseError();
    if (status == AVI_OPEN_FAILED) throw RefusedError(m_pSource->ParseError(), status);
    throw RefusedError(HostError(path + ": not opened: " + StatusText(status)), status);
  }
  m_pSource->MayBlock();
  const int tracks = m_pParser->GetTrackCount();
  if (tracks > 0) m_nTracks = static_cast<uint32_t>(tracks);
}

unsigned long MediaFile::Duration() const {
  unsigned long duration = 0;
  m_pParser->GetDurationMs(&duration);
  return duration;
}

const TrackInfo& MediaFile::Track(uint32_t track) const {
  const TrackInfo* info = m_pParser->GetTrackInfo(track);
  return info ? *info : kNoTrack;
}

bool MediaFile::Plays(uint32_t track) const {
  const uint32_t type = Track(track).nTrackType;
  if (type != AVI_TRACK_VIDEO) return type == AVI_TRACK_AUDIO || type == AVI_TRACK_TEXT;
  return FirstTrack(AVI_TRACK_VIDEO) == track;
}

std::optional<uint32_t> MediaFile::FirstTrack(uint32_t trackType) const {
  for (uint32_t track = 0; track < m_nTracks; ++track) {
    if (Track(track).nTrackType == trackType) return track;
  }
  return std::nullopt;
}

void MediaFile::CheckPlays(uint32_t track) const {
  if (track >= m_nTracks) throw HostError(fmt::format("{}: has no track {}", m_sPath, track));
  if (!Plays(track)) throw HostError(fmt::format("{}: track {} cannot be played", m_sPath, track));
}

void MediaFile::Select(uint32_t track) const {
  const uint32_t type = Track(track).nTrackType;
  if (type == AVI_TRACK_AUDIO) m_pParser->SelectAudioTrack(static_cast<int>(track));
  if (type == AVI_TRACK_TEXT) m_pParser->SelectTextTrack(static_cast<int>(track));
}

bool HasSeeks(const TrackInfo& info) {
  switch (info.nTrackType) {
    case AVI_TRACK_VIDEO:
      return info.video.bSeekable;
    case AVI_TRACK_AUDIO:
      return info.audio.bSeekable;
    case AVI_TRACK_TEXT:
      return info.text.bSeekable;
  }
  return false;
}

MediaFile::SConfig MediaFile::ReadConfig(uint32_t track, std::span<uint8_t> buffer) const {
  SConfig config;
  int status = AVI_ERROR;
  if (Plays(track)) {
    const uint32_t type = Track(track).nTrackType;
    Select(track);
    if (type == AVI_TRACK_VIDEO) status = m_pParser->GetVideoConfig(buffer.data(), &config.nLength, buffer.size());
    if (type == AVI_TRACK_AUDIO) status = m_pParser->GetAudioConfig(buffer.data(), &config.nLength, buffer.size());
  }
  if (status == AVI_OK && config.nLength <= buffer.size()) config.bytes = buffer.first(config.nLength);
  return config;
}

bool MediaFile::Repeats(uint32_t track, uint64_t bytes) const {
  return !HasSeeks(Track(track)) && bytes / kMostTimesTheFile > static_cast<uint64_t>(Source().Size());
}

std::vector<uint8_t> MediaFile::WholeConfig(uint32_t track) const {
  std::vector<uint8_t> buffer(1 << 16);
  SConfig config = ReadConfig(track, buffer);
  if (config.nLength > buffer.size()) {
    buffer.resize(config.nLength);
    config = ReadConfig(track, buffer);
  }
  buffer.resize(config.bytes.size());
  return buffer;
}

bool Host::UnitBuffer::Reserve(size_t bytes) {
  if (bytes <= m_nBytes) return true;
  std::unique_ptr<uint8_t[]> larger(new (std::nothrow) uint8_t[bytes]);
  if (!larger) return false;
  m_pBytes = std::move(larger);
  m_nBytes = bytes;
  return true;
}

Host::Host(const SHostOptions& options)
    : m_Options(options), m_Library(options.sLibrary, options.nVerbosity), m_pBuffer(std::make_unique<UnitBuffer>()) {
  if (!m_pBuffer->Reserve(options.nBuffer.value_or(kUsualBuffer))) throw HostError("no memory for the buffer");
}

MediaFile Host::Open(const std::string& path) const {
  MediaFile file(m_Library, path, m_Options);
  // Where there is no memory for that much, it is the usual size.
  if (!m_Options.nBuffer) m_pBuffer->Reserve(LargestUnit(file));
  return file;
}

SPullResult Host::Pull(const MediaFile& file, uint32_t trackType,
                       const std::function<bool(const SUnit&)>& onUnit) const {
  const std::span<uint8_t> buffer = Buffer();
  SPullResult result{Ending::kEndOfTrack, AVI_END_OF_STREAM, 0, buffer.size()};
  for (int emptyReads = 0; emptyReads < kMaxEmptyReads;) {
    const SPull pull = PullOnce(file, trackType, buffer);
    result.nStatus = pull.nStatus;
    if (pull.nStatus == AVI_END_OF_STREAM) {
      result.nTooLarge = TooLarge(file, trackType);
      return result;
    }
    if (pull.nStatus != AVI_OK || pull.nLength > buffer.size()) {
      result.ending = Ending::kFailed;
      return result;
    }
    if (pull.nLength == 0) {
      ++result.nEmptyReads;
      ++emptyReads;
      continue;
    }
    emptyReads = 0;
    const SimulatedSource::SCall& call = file.Source().Call();
    if (!onUnit({buffer.first(pull.nLength), pull.nTimeMs, call.nPosition, call.nReads})) {
      result.ending = Ending::kStopped;
      return result;
    }
  }
  result.ending = Ending::kStalled;
  return result;
}

size_t Host::TooLarge(const MediaFile& file, uint32_t trackType) const {
  const size_t room = LargestUnit(file);
  if (!m_Options.nBuffer || room <= *m_Options.nBuffer) return 0;
  UnitBuffer larger;
  if (!larger.Reserve(room)) return 0;
  const SPull pull = PullOnce(file, trackType, larger.Bytes());
  // A unit that would have fitted is one that the library found behind the end, such as the rest of re-cut sound.
  return pull.nStatus == AVI_OK && pull.nLength > *m_Options.nBuffer ? pull.nLength : 0;
}

SPullResult Host::PullTrack(const MediaFile& file, uint32_t track,
                            const std::function<bool(const SUnit&)>& onUnit) const {
  const uint32_t type = file.Track(track).nTrackType;
  file.Select(track);
  // The selection moves no cursor, and the audio tracks before this one have been played out.
  if (type == AVI_TRACK_AUDIO) file.Parser().Seek(0, AVI_TRACK_AUDIO, 0);
  if (HasSeeks(file.Track(track))) return Pull(file, type, onUnit);

  uint64_t bytes = 0;
  bool wanted = true;
  SPullResult result = Pull(file, type, [&](const SUnit& unit) {
    bytes += unit.payload.size();
    wanted = onUnit(unit);
    return wanted && !file.Repeats(track, bytes);
  });
  if (result.ending == Ending::kStopped && wanted) {
    result.ending = Ending::kStalled;
    result.bRepeats = true;
  }
  return result;
}

uint64_t Hash(std::span<const uint8_t> bytes, uint64_t hash) {
  for (const uint8_t byte : bytes) {
    // The product wraps on purpose; the builtin says so to the sanitizers.
    (void)__builtin_mul_overflow(hash ^ byte, uint64_t{0x100000001B3}, &hash);
  }
  return hash;
}

void FlushStdout() {
  // A write that failed before leaves nothing to flush, only its mark.
  if (std::fflush(stdout) != 0 || std::ferror(stdout)) {
    throw HostError(std::string("cannot write: ") + std::strerror(errno));
  }
}

void PrintError(const std::string& message) {
  std::fflush(stdout);
  const char* const erase = isatty(STDERR_FILENO) ? "\r\033[K" : "";  // a line that tells how far the work is
  // fmt::print would throw where stderr takes nothing, and there is nobody else to tell.
  std::fputs(fmt::format("{}aviprobe: {}\n", erase, Shown(message)).c_str(), stderr);
}

std::string Trouble(const SPullResult& result) {
  if (result.nTooLarge) {
    return fmt::format("ended at a unit of {} bytes, above the buffer of {}", result.nTooLarge, result.nBuffer);
  }
  switch (result.ending) {
    case Ending::kEndOfTrack:
    case Ending::kStopped:
      return {};
    case Ending::kStalled:
      if (result.bRepeats) {
        return fmt::format("stalled (more than {} times the file's bytes came, and no end)", kMostTimesTheFile);
      }
      return fmt::format("stalled ({} reads in a row gave nothing)", kMaxEmptyReads);
    case Ending::kFailed:
      break;
  }
  if (result.nStatus == AVI_OK) return "failed: the library reports more bytes than the buffer holds";
  return "failed with " + StatusText(result.nStatus);
}

const char* EndingName(Ending ending) {
  constexpr const char* kNames[] = {"end", "failed", "stalled", "stopped"};
  return kNames[static_cast<int>(ending)];
}
