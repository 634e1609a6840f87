#include "tools/aviprobe/model/delivery.h"

#include <fmt/format.h>

#include <algorithm>

#include "tools/aviprobe/host/isolation.h"
#include "tools/aviprobe/model/measure.h"

namespace {

struct SShortfall {
  uint64_t nMissing = 0, nPresent = 0;  ///< pictures; of sound milliseconds
};

SShortfall MissingPictures(const SFileMap& map, const STrackFacts& facts, const STrackDelivery& delivery) {
  const auto present = static_cast<uint64_t>(std::count_if(facts.chunks.begin(), facts.chunks.end(), [&](uint32_t i) {
    return IsUnit(map.Chunk(i)) && map.Chunk(i).nSize;
  }));
  uint64_t delivered = delivery.nUnits;
  if (delivery.nCodecId == AVI_CODEC_MPEG12 && facts.present.nBytes) {  // pictures may lie across chunks
    delivered = static_cast<uint64_t>(static_cast<double>(delivery.nBytes) / static_cast<double>(facts.present.nBytes) *
                                      static_cast<double>(present));
  }
  return {present > delivered + 1 ? present - delivered : 0, present};
}

SShortfall MissingSound(const STrackFacts& facts, const STrackDelivery& delivery) {
  constexpr uint64_t kWorthMs = 500;
  const bool narrowed = delivery.nCodecId == AVI_CODEC_PCM && facts.pHeader->BitsPerSample() == 24;
  const uint64_t expected = narrowed ? facts.present.nBytes / 3 * 2 : facts.present.nBytes;
  if (delivery.nBytes >= expected) return {};
  const double lost = static_cast<double>(expected - delivery.nBytes) / static_cast<double>(expected);
  const auto lostMs = static_cast<uint64_t>(lost * static_cast<double>(facts.present.nMs));
  return {lostMs > kWorthMs ? lostMs : 0, facts.present.nMs};
}

bool HasIndex(const SFileMap& map) { return map.idx1 || !map.superSlots.empty() || !map.chunkIndexes.empty(); }

}  // namespace

std::string Missing(const SFileMap& map, const FileFacts& facts, const STrackDelivery& delivery) {
  const bool video = delivery.nType == AVI_TRACK_VIDEO;
  if (delivery.nTrack >= facts.Tracks().size() || (!video && delivery.nType != AVI_TRACK_AUDIO)) return "";
  const STrackFacts& there = facts.Tracks()[delivery.nTrack];
  const SShortfall shortfall = video ? MissingPictures(map, there, delivery) : MissingSound(there, delivery);
  if (shortfall.nMissing == 0) return "";
  return fmt::format("{} of {} {}", shortfall.nMissing, shortfall.nPresent, video ? "pictures" : "ms of sound");
}

std::string WhyMissing(const SFileMap& map, const FileFacts& facts, const SHostOptions& options) {
  if (options.failure || options.nBlockEvery || options.nChunkBytes || options.bStreaming) {
    return ": the source was made a bad one";
  }
  const bool helps = HasIndex(map) && !options.hiddenChunks && facts.PlaysUnindexed();
  return helps ? ": its index leaves them out; --ignore-index plays without it" : "";
}

const SFileMap& Presence::Map() {
  if (!m_Map) {
    FileSource source(m_sPath, false);
    m_Map = MapFile(source, m_sPath, {.bEntries = false});
  }
  return *m_Map;
}

const FileFacts& Presence::Facts() {
  if (!m_Facts) m_Facts.emplace(Map(), nullptr);
  return *m_Facts;
}

bool Presence::ComplainOfMissing(const STrackDelivery& delivery) {
  const std::string missing = Missing(Map(), Facts(), delivery);
  if (missing.empty()) return false;
  PrintError(fmt::format("{}: track {}: {} were not delivered{}", m_sPath, delivery.nTrack, missing,
                         WhyMissing(Map(), Facts(), m_Host.Options())));
  return true;
}

uint64_t Presence::Ms(uint32_t track) {
  return track < Facts().Tracks().size() ? Facts().Tracks()[track].present.nMs : 0;
}

int NothingToPlay(const std::string& path) {
  FileSource source(path, false);
  if (!MapFile(source, path, {.bEntries = false, .bData = false}).IsAvi()) {
    throw HostError(path + ": not an AVI file");
  }
  PrintError(path + ": nothing in it to play");
  return kExitFindings;
}
