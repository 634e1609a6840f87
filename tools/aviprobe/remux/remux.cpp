#include "tools/aviprobe/remux/remux.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <memory>

#include "tools/aviprobe/host/file_source.h"
#include "tools/aviprobe/model/delivery.h"
#include "tools/aviprobe/model/file_map.h"
#include "tools/aviprobe/model/playback.h"
#include "tools/aviprobe/model/track_facts.h"
#include "tools/aviprobe/remux/lane.h"
#include "tools/aviprobe/remux/muxer.h"
#include "tools/aviprobe/text/names.h"
#include "tools/aviprobe/text/times.h"

namespace {

constexpr int64_t kWorthANoteMs = 100;
constexpr int64_t kScaleAt = 20;  // of dwScale in "strh"; dwRate is behind it

SFileMap MapWhole(const std::string& path) {
  FileSource source(path, false);
  return MapFile(source, path);
}

/// One file on its way into a copy.
class Copy {
 public:
  Copy(const Host& host, const SRemuxJob& job, Progress& progress)
      : m_Host(host), m_Job(job), m_Progress(progress), m_File(host.Open(job.sInput)), m_Map(MapWhole(job.sInput)) {}

  SRemuxed Run() {
    MakeLanes();
    if (std::none_of(m_Lanes.begin(), m_Lanes.end(), [](const auto& lane) { return lane->Result().nUnits > 0; })) {
      throw CopyError(m_Job.sInput + ": nothing of it is delivered" +
                      WhyMissing(m_Map, FileFacts(m_Map, nullptr), m_Host.Options()));
    }
    Muxer muxer(m_Job);
    for (const auto& lane : m_Lanes) muxer.AddStream(lane->Parameters());
    Begin(&muxer);
    WriteAll(&muxer);
    muxer.Finish();
    if (m_Job.container == EContainer::kAvi) CountInSamples();
    for (const auto& lane : m_Lanes) m_Done.tracks.push_back(lane->Result());
    if (m_Job.container == EContainer::kAvi) Verify();
    AddNotes();
    NoteMissing();
    return std::move(m_Done);
  }

 private:
  void MakeLanes() {
    for (uint32_t track = 0; track < m_File.TrackCount(); ++track) {
      const uint32_t type = m_File.Track(track).nTrackType;
      if (!m_File.Plays(track) || type == AVI_TRACK_TEXT) {
        const char* why = type == AVI_TRACK_TEXT ? "is text" : "cannot be played";
        m_Done.notes.push_back(fmt::format("track {} {} and is left out", track, why));
        continue;
      }
      if (track >= m_Map.streams.size()) throw HostError(m_Job.sInput + ": the headers of its streams cannot be read");
      ForTrack(track, [&] {
        m_Lanes.push_back(
            std::make_unique<Lane>(m_Host, m_Job, track, m_Map.streams[track], m_File.WholeConfig(track)));
      });
    }
    if (m_Lanes.empty() && !m_Map.IsAvi()) throw HostError(m_Job.sInput + ": not an AVI file");
    if (m_Lanes.empty()) throw CopyError(m_Job.sInput + ": has no track to copy");
  }

  /// What is wrong is said with the track's number.
  template <typename Work>
  void ForTrack(uint32_t track, const Work& work) {
    try {
      work();
    } catch (const HostError& error) {
      throw CopyError(fmt::format("{}: track {}: {}", m_Job.sInput, track, error.what()));
    }
  }

  void Begin(Muxer* muxer) {
    muxer->Begin();
    if (m_Job.container != EContainer::kAvi) return;
    for (size_t i = 0; i < m_Lanes.size(); ++i) {
      const SStreamParameters& parameters = m_Lanes[i]->Parameters();
      if (parameters.codec->codec_type != AVMEDIA_TYPE_VIDEO) continue;
      if (av_cmp_q(muxer->TimeBase(i), m_Lanes[i]->TimeBase()) == 0) continue;
      throw CopyError(m_Job.sInput + ": its frame rate cannot be written to an AVI file");
    }
  }

  /// Always the packet that comes first in time.
  void WriteAll(Muxer* muxer) {
    while (const std::optional<size_t> next = Next()) {
      Lane& lane = *m_Lanes[*next];
      Tell(static_cast<uint32_t>(std::max<int64_t>(av_rescale_q(lane.Time(), lane.TimeBase(), {1, 1000}), 0)));
      lane.Write(muxer, *next);
    }
  }

  std::optional<size_t> Next() {
    std::optional<size_t> next;
    for (size_t i = 0; i < m_Lanes.size(); ++i) {
      Lane& lane = *m_Lanes[i];
      bool ready = false;
      ForTrack(lane.Result().nTrack, [&] { ready = lane.Fill(); });
      if (!ready) continue;
      const auto earlier = [&](const Lane& other) {
        return av_compare_ts(lane.Time(), lane.TimeBase(), other.Time(), other.TimeBase()) < 0;
      };
      if (!next || earlier(*m_Lanes[*next])) next = i;
    }
    return next;
  }

  void Tell(uint32_t ms) {
    if (m_nSecond == ms / 1000) return;
    m_nSecond = ms / 1000;
    m_Progress.Stage("copying at " + ClockText(ms));
    m_Progress.Done(std::min(ms / static_cast<double>(std::max(m_File.Duration(), 1ul)), 1.0));
  }

  /// The library takes twice the true bit rate from the frames of E-AC-3, unless the header counts in samples.
  void CountInSamples() {
    for (size_t i = 0; i < m_Lanes.size(); ++i) {
      const AVCodecParameters& codec = *m_Lanes[i]->Parameters().codec;
      if (codec.codec_id != AV_CODEC_ID_EAC3 || codec.frame_size <= 0) continue;
      const SFileMap copy = MapWhole(m_Job.sTemporary);
      if (i >= copy.streams.size() || !copy.streams[i].nStrhOffset) continue;
      const int64_t at = *copy.streams[i].nStrhOffset;
      PutLe32(at + kScaleAt, static_cast<uint32_t>(codec.frame_size));
      PutLe32(at + kScaleAt + 4, static_cast<uint32_t>(codec.sample_rate));
    }
  }

  void PutLe32(int64_t at, uint32_t value) const {
    std::fstream file(m_Job.sTemporary, std::ios::in | std::ios::out | std::ios::binary);
    file.seekp(at);
    for (int shift = 0; shift < 32; shift += 8) file.put(static_cast<char>(value >> shift & 0xFF));
    if (!file.flush()) throw HostError(m_Job.sOutput + ": cannot be written");
  }

  /// Plays the copy, from a file without trouble.
  void Verify() {
    m_Progress.Stage("playing the copy");
    SHostOptions options = m_Host.Options();
    static_cast<SSimulation&>(options) = {};
    options.nBuffer.reset();
    SPlayOptions play;
    play.bUnits = false;
    const SPlayback playback = Play(Host(options), m_Job.sTemporary, play);
    for (SRemuxedTrack& track : m_Done.tracks) track.bSame = false;
    for (const STrackPlayback& played : playback.tracks) {
      if (played.nTrack >= m_Done.tracks.size()) continue;
      SRemuxedTrack& track = m_Done.tracks[played.nTrack];
      track.bSame = played.nUnits == track.nUnits && played.nHash == track.nHash;
    }
  }

  void AddNotes() {
    for (const SRemuxedTrack& track : m_Done.tracks) {
      const int64_t drift = track.nDriftMs;
      if (drift > kWorthANoteMs || drift < -kWorthANoteMs) {
        m_Done.notes.push_back(fmt::format(
            "track {}: its last unit is stamped {} ms {} in the copy, by the lengths of the units before it",
            track.nTrack, drift > 0 ? drift : -drift, drift > 0 ? "later" : "earlier"));
      }
      if (track.bSame == false) {
        AddTrouble(fmt::format("track {}: the copy does not deliver the same units again", track.nTrack));
      }
    }
  }

  void NoteMissing() {
    const FileFacts facts(m_Map, nullptr);
    for (const SRemuxedTrack& track : m_Done.tracks) {
      if (track.result.ending != Ending::kEndOfTrack) continue;  // that is said already
      const std::string missing =
          Missing(m_Map, facts, {track.nTrack, track.nType, track.nCodecId, track.nUnits, track.nBytes});
      if (missing.empty()) continue;
      AddTrouble(fmt::format("track {}: {} are not in the copy{}", track.nTrack, missing,
                             WhyMissing(m_Map, facts, m_Host.Options())));
    }
  }

  /// A note that costs the exit code.
  void AddTrouble(const std::string& text) {
    m_Done.notes.push_back(text);
    m_Done.troubles.push_back(text);
  }

  const Host& m_Host;
  const SRemuxJob& m_Job;
  Progress& m_Progress;
  MediaFile m_File;  // for headers and configurations; no unit is pulled from it
  SFileMap m_Map;
  std::vector<std::unique_ptr<Lane>> m_Lanes;
  SRemuxed m_Done;
  std::optional<uint32_t> m_nSecond;
};

[[noreturn]] void FailWith(const std::string& path) { throw HostError(path + ": " + std::strerror(errno)); }

/// Gives the copy its name.
void Publish(const SRemuxJob& job) {
  const char* from = job.sTemporary.c_str();
  const char* to = job.sOutput.c_str();
  if (!job.bForce) {
    if (renameat2(AT_FDCWD, from, AT_FDCWD, to, RENAME_NOREPLACE) == 0) return;
    if (errno != EINVAL && errno != ENOSYS) FailWith(job.sOutput);
    if (access(to, F_OK) == 0) throw HostError(job.sOutput + ": is there already");
  }
  if (std::rename(from, to) < 0) FailWith(job.sOutput);
}

}  // namespace

bool RemuxIsBuiltIn() { return true; }

SRemuxed Remux(const Host& host, const SRemuxJob& job, Progress& progress) {
  av_log_set_level(AV_LOG_QUIET);  // it would print what stands in the file as it is
  progress.Stage("opening");
  SRemuxed done = Copy(host, job, progress).Run();
  Publish(job);
  return done;
}
