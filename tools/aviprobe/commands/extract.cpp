#include <fcntl.h>
#include <fmt/format.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <set>
#include <utility>

#include "tools/aviprobe/commands/command_options.h"
#include "tools/aviprobe/commands/commands.h"
#include "tools/aviprobe/host/isolation.h"
#include "tools/aviprobe/model/delivery.h"
#include "tools/aviprobe/model/parameter_sets.h"
#include "tools/aviprobe/model/playback.h"
#include "tools/aviprobe/text/json_line.h"
#include "tools/aviprobe/text/names.h"
#include "tools/aviprobe/text/shown.h"

namespace {

struct SExtractOptions {
  std::vector<std::string> files;
  std::optional<uint32_t> nTrack;  ///< only this track, to `sOutput`; empty: every played one, into `sFolder`
  std::string sOutput;             ///< "-": stdout
  std::string sFolder;
};

constexpr uint64_t kUnitsPerReport = 100;

using Bytes = std::vector<uint8_t>;
using ByteSpan = std::span<const uint8_t>;

/// A file or stdout without a buffer in between: units are written from where the library put them.
class Output {
 public:
  /// @throw HostError that starts with the path. @param input  the file that must not be overwritten.
  Output(const std::string& path, const std::string& input) : m_sPath(path), m_nFd(STDOUT_FILENO) {
    if (path == "-") return;
    std::error_code ignored;
    if (std::filesystem::equivalent(path, input, ignored)) throw HostError(path + ": is the file that is read");
    m_nFd = open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666);
    if (m_nFd < 0) Fail();
  }
  ~Output() {
    if (m_nFd > STDERR_FILENO) close(m_nFd);
  }
  Output(const Output&) = delete;
  Output& operator=(const Output&) = delete;

  void Write(ByteSpan bytes) {
    m_nWritten += bytes.size();
    while (!bytes.empty()) {
      const ssize_t count = write(m_nFd, bytes.data(), bytes.size());
      if (count >= 0) {
        bytes = bytes.subspan(static_cast<size_t>(count));
      } else if (errno != EINTR) {
        Fail();
      }
    }
  }
  /// Ends the writing: a file system may tell only now that it has failed.
  void Close() {
    if (m_nFd > STDERR_FILENO && close(std::exchange(m_nFd, STDOUT_FILENO)) < 0) Fail();
  }
  uint64_t Written() const { return m_nWritten; }

 private:
  [[noreturn]] void Fail() const { throw HostError(m_sPath + ": " + std::strerror(errno)); }

  std::string m_sPath;
  int m_nFd;
  uint64_t m_nWritten = 0;
};

bool IsMpeg4Part2(uint32_t codec) {
  constexpr uint32_t kFamily[] = {AVI_CODEC_MPEG4, AVI_CODEC_MP4V, AVI_CODEC_DIVX,
                                  AVI_CODEC_DIVX5, AVI_CODEC_DXMF, AVI_CODEC_XVID};
  return std::find(std::begin(kFamily), std::end(kFamily), codec) != std::end(kFamily);
}

constexpr std::pair<uint32_t, const char*> kExtensions[] = {
    {AVI_CODEC_MPEG12, "m2v"},  {AVI_CODEC_H263, "h263"}, {AVI_CODEC_H264, "h264"}, {AVI_CODEC_VC1, "vc1"},
    {AVI_CODEC_MJPEG, "mjpeg"}, {AVI_CODEC_AAC, "aac"},   {AVI_CODEC_MP3, "mp3"},   {AVI_CODEC_MP2, "mp2"},
    {AVI_CODEC_AC3, "ac3"},     {AVI_CODEC_EAC3, "eac3"}, {AVI_CODEC_DTS, "dts"},   {AVI_CODEC_ALAW, "alaw"},
    {AVI_CODEC_MULAW, "mulaw"}};

/// The ending that tells a decoder what it gets; raw formats are called as ffmpeg calls them.
const char* Extension(const TrackInfo& info) {
  if (info.nTrackType == AVI_TRACK_TEXT) return "xsub";
  if (IsMpeg4Part2(info.nCodecId)) return "m4v";
  if (info.nCodecId == AVI_CODEC_PCM) {
    if (info.audio.nBitsPerSample == 8) return "u8";
    // The library narrows 24 bits to 16. Wider samples may be floating, which it does not tell.
    return info.audio.nBitsPerSample == 16 || info.audio.nBitsPerSample == 24 ? "s16le" : "pcm";
  }
  const auto* found = std::find_if(std::begin(kExtensions), std::end(kExtensions),
                                   [&](const auto& row) { return row.first == info.nCodecId; });
  return found == std::end(kExtensions) ? "bin" : found->second;
}

/// Whether `accept` likes the byte behind any start code.
template <typename Accept>
bool HasHeader(ByteSpan bytes, Accept accept) {
  constexpr uint8_t kStart[] = {0, 0, 1};
  for (auto at = bytes.begin();; at += 3) {
    at = std::search(at, bytes.end(), std::begin(kStart), std::end(kStart));
    if (bytes.end() - at < 4) return false;
    if (accept(at[3])) return true;
  }
}

/// What a decoder needs in front of the first unit of a video track and does not find in it.
Bytes LeadIn(const MediaFile& file, uint32_t track, ByteSpan firstUnit) {
  const uint32_t codec = file.Track(track).nCodecId;
  if (IsMpeg4Part2(codec)) {
    const bool complete = HasHeader(firstUnit, [](uint8_t b) { return (b & 0xF0) == 0x20; });
    return complete ? Bytes() : file.WholeConfig(track);
  }
  if (codec == AVI_CODEC_H264) {
    // Asked no earlier than here: once the host has the configuration, the library adds none to the units.
    if (HasHeader(firstUnit, [](uint8_t b) { return (b & 0x1F) == 7; })) return {};
    const Bytes config = file.WholeConfig(track);
    return !config.empty() && config[0] == 1 ? ParameterSets(config) : config;
  }
  return {};
}

/// Headers for raw AAC frames (ISO/IEC 14496-3, ADTS without checksum), made from the track's AudioSpecificConfig.
class AdtsHeaders {
 public:
  AdtsHeaders(const MediaFile& file, uint32_t track) {
    const TrackInfo& info = file.Track(track);
    if (info.nTrackType != AVI_TRACK_AUDIO || info.nCodecId != AVI_CODEC_AAC) return;
    const Bytes config = file.WholeConfig(track);
    if (config.size() < 2) return;
    m_nObjectType = config[0] >> 3u;
    m_nRate = (config[0] & 7u) << 1 | config[1] >> 7;
    m_nChannels = config[1] >> 3 & 15u;
  }

  void WriteFor(ByteSpan unit, Output* output) const {
    const size_t size = unit.size() + kBytes;
    // What ADTS can express; a frame that begins with its sync word has a header already.
    const bool fits = m_nObjectType >= 1 && m_nObjectType <= 4 && m_nRate < 13 && m_nChannels < 8 && size < 1 << 13;
    if (!fits || (unit.size() >= 2 && unit[0] == 0xFF && (unit[1] & 0xF6) == 0xF0)) return;
    const auto byte = [](size_t value) { return static_cast<uint8_t>(value & 0xFF); };
    const std::array<uint8_t, kBytes> header = {0xFF,
                                                0xF1,
                                                byte((m_nObjectType - 1) << 6 | m_nRate << 2 | m_nChannels >> 2),
                                                byte(m_nChannels << 6 | size >> 11),
                                                byte(size >> 3),
                                                byte(size << 5 | 0x1F),
                                                0xFC};
    output->Write(header);
  }

 private:
  static constexpr size_t kBytes = 7;
  unsigned m_nObjectType = 0, m_nRate = 0, m_nChannels = 0;
};

/// @return whether the track came out whole. What there is of one that did not stays.
bool ExtractTrack(const Host& host, const MediaFile& file, uint32_t track, const std::string& path, Presence* presence,
                  Progress& progress) {
  const TrackInfo& info = file.Track(track);
  const AdtsHeaders adts(file, track);
  Output output(path, file.Path());
  const double duration = static_cast<double>(std::max(file.Duration(), 1ul));
  uint64_t units = 0, bytes = 0;
  progress.Stage(fmt::format("extracting track {}", track));
  const SPullResult result = host.PullTrack(file, track, [&](const SUnit& unit) {
    if (units++ == 0 && info.nTrackType == AVI_TRACK_VIDEO) output.Write(LeadIn(file, track, unit.payload));
    bytes += unit.payload.size();
    adts.WriteFor(unit.payload, &output);
    output.Write(unit.payload);
    if (units % kUnitsPerReport == 0) progress.Done(std::min(static_cast<double>(unit.nTimeMs) / duration, 1.0));
    return true;
  });
  output.Close();

  const char* type = TrackTypeName(info.nTrackType);
  const char* codec = CodecName(info.nTrackType, info.nCodecId);
  if (path == "-") {
    // Only the stream belongs on stdout.
  } else if (host.Json()) {
    PrintJsonLine({{"record", "extract"},
                   {"file", file.Path()},
                   {"track", track},
                   {"type", type},
                   {"codec_id", info.nCodecId},
                   {"codec", codec},
                   {"output", path},
                   {"units", units},
                   {"bytes", output.Written()},
                   {"end", EndingName(result.ending)},
                   {"status", result.nStatus}});
  } else {
    fmt::print("track {}: {}, {}: {} units, {} bytes to {}\n", track, type, codec, units, output.Written(),
               Shown(path));
  }
  const std::string trouble = Trouble(result);
  if (trouble.empty()) return !presence->ComplainOfMissing({track, info.nTrackType, info.nCodecId, units, bytes});
  PrintError(fmt::format("{}: track {} {} after {} units", file.Path(), track, trouble, units));
  return false;
}

/// Where `--all` writes: the folder, or one in it by each file's name where there are several.
std::filesystem::path FolderFor(const SExtractOptions& options, const std::string& path) {
  std::filesystem::path folder = options.sFolder;
  if (options.files.size() > 1) folder /= std::filesystem::path(path).stem();
  std::error_code error;
  std::filesystem::create_directories(folder, error);
  if (error) throw HostError(folder.string() + ": " + error.message());
  return folder;
}

int RunExtract(const Host& host, const SExtractOptions& options, const std::string& path, Progress& progress) {
  progress.Stage("opening");
  const MediaFile file = host.Open(path);
  Presence presence(host, path);
  if (PlayedTracks(file, {}).empty()) return NothingToPlay(path);
  if (options.nTrack) {
    file.CheckPlays(*options.nTrack);
    return ExtractTrack(host, file, *options.nTrack, options.sOutput, &presence, progress) ? kExitFine : kExitFindings;
  }
  const std::filesystem::path folder = FolderFor(options, path);
  int code = kExitFine;
  for (uint32_t track = 0; track < file.TrackCount(); ++track) {
    if (!file.Plays(track)) {
      PrintError(fmt::format("{}: track {} cannot be played and is left out", file.Path(), track));
      continue;
    }
    const std::string name = fmt::format("track{}.{}", track, Extension(file.Track(track)));
    if (!ExtractTrack(host, file, track, (folder / name).string(), &presence, progress)) code = kExitFindings;
  }
  return code;
}

/// Several files must not write over each other.
void CheckNames(const SExtractOptions& options) {
  if (options.files.size() > 1 && options.nTrack) {
    RefuseUsage("--output: takes one file; --all takes several");
  }
  std::set<std::filesystem::path> names;
  for (const std::string& file : options.files) {
    if (names.insert(std::filesystem::path(file).stem()).second) continue;
    RefuseUsage("FILE: " + file + ": another file has this name; extract it to another folder");
  }
}

}  // namespace

void AddExtract(CLI::App& app, Command& command) {
  auto options = std::make_shared<SExtractOptions>();
  CommandOptions extract(app, "extract", "Write elementary streams as the decoders get them");
  extract.Files(&options->files);
  CommandOption track = extract.Track("--track", &options->nTrack, "Only this track");
  CommandOption output = extract.Text("-o,--output", &options->sOutput, "OUT", "Where to, - is stdout");
  CommandOption all =
      extract.Text("--all", &options->sFolder, "DIR", "Every track, to DIR/trackN.EXT; of several files to DIR/NAME/");
  track.Needs(output);
  output.Needs(track);
  all.Excludes(track).Excludes(output);
  extract.OnRead([=, &command] {
    if (!all.Given() && !track.Given()) RefuseUsage("--track with --output, or --all is required");
    CheckNames(*options);
    command = [=](const SHostOptions& hostOptions) {
      const Host host(hostOptions);
      return WorstExit(ForEachFile(hostOptions, {}, options->files, [&](const std::string& path, Progress& progress) {
        return RunExtract(host, *options, path, progress);
      }));
    };
  });
}
