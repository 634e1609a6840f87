#include "tools/aviprobe/host/host.h"

#include <fmt/format.h>

#include <cstdio>

#include "tools/aviprobe/text/names.h"

namespace {

constexpr int kMaxEmptyReads = 1000;  // in a row; a real host would hang on a track that exceeds them

const TrackInfo kNoTrack{};

}  // namespace

MediaFile::MediaFile(const ParserLibrary& library, const std::string& path, bool streaming)
    : m_sPath(path),
      m_pSource(std::make_unique<FileSource>(path, streaming)),
      m_pParser(library.CreateParser()),
      m_nTracks(0) {
  if (const int status = m_pParser->Open(m_pSource.get()); status != AVI_OK) {
    if (status == AVI_OPEN_FAILED) throw m_pSource->ParseError();
    throw HostError(path + ": not opened: " + StatusText(status));
  }
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

Host::Host(const SHostOptions& options)
    : m_Options(options),
      m_Library(options.sLibrary, options.nVerbosity),
      m_pBuffer(std::make_unique_for_overwrite<uint8_t[]>(options.nBuffer)) {}

SPullResult Host::Pull(const MediaFile& file, uint32_t trackType,
                       const std::function<bool(const SUnit&)>& onUnit) const {
  IParser& parser = file.Parser();
  unsigned char* const buffer = m_pBuffer.get();
  const unsigned long capacity = m_Options.nBuffer;
  SPullResult result{Ending::kEndOfTrack, AVI_END_OF_STREAM, 0};
  for (int emptyReads = 0; emptyReads < kMaxEmptyReads;) {
    unsigned long length = 0, time = 0;
    switch (trackType) {
      case AVI_TRACK_VIDEO:
        result.nStatus = parser.GetVideoData(buffer, &length, &time, capacity, false);
        break;
      case AVI_TRACK_AUDIO:
        result.nStatus = parser.GetAudioData(buffer, &length, &time, capacity);
        break;
      case AVI_TRACK_TEXT:
        result.nStatus = parser.GetTextData(buffer, &length, &time, capacity);
        break;
      default:
        return result;
    }
    if (result.nStatus == AVI_END_OF_STREAM) return result;
    if (result.nStatus != AVI_OK || length > capacity) {
      result.ending = Ending::kFailed;
      return result;
    }
    if (length == 0) {
      ++result.nEmptyReads;
      ++emptyReads;
      continue;
    }
    emptyReads = 0;
    if (!onUnit({{buffer, length}, time})) {
      result.ending = Ending::kStopped;
      return result;
    }
  }
  result.ending = Ending::kStalled;
  return result;
}

SPullResult Host::PullTrack(const MediaFile& file, uint32_t track,
                            const std::function<bool(const SUnit&)>& onUnit) const {
  const uint32_t type = file.Track(track).nTrackType;
  file.Select(track);
  // The selection moves no cursor, and the audio tracks before this one have been played out.
  if (type == AVI_TRACK_AUDIO) file.Parser().Seek(0, AVI_TRACK_AUDIO, 0);
  return Pull(file, type, onUnit);
}

uint64_t Hash(std::span<const uint8_t> bytes, uint64_t hash) {
  for (const uint8_t byte : bytes) {
    // The product wraps on purpose; the builtin says so to the sanitizers.
    (void)__builtin_mul_overflow(hash ^ byte, uint64_t{0x100000001B3}, &hash);
  }
  return hash;
}

void PrintError(const std::string& message) {
  std::fflush(stdout);
  fmt::print(stderr, "aviprobe: {}\n", message);
}

std::string Trouble(const SPullResult& result) {
  switch (result.ending) {
    case Ending::kEndOfTrack:
    case Ending::kStopped:
      return {};
    case Ending::kStalled:
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
