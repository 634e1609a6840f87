#include "tools/aviprobe/remux/track_reader.h"

#include <fmt/format.h>

#include "tools/aviprobe/host/core_view.h"
#include "tools/aviprobe/model/key_unit.h"
#include "tools/aviprobe/model/playback.h"

TrackReader::TrackReader(const Host& host, const std::string& path, uint32_t track)
    : m_Host(host), m_File(host.Open(path)) {
  m_Facts.nTrack = track;
  m_Facts.nType = Info().nTrackType;
  m_Facts.nCodecId = Info().nCodecId;
  m_Facts.nHash = kHashStart;
  m_File.Select(track);
}

AvPacket TrackReader::Next() {
  if (m_bEnded) return nullptr;
  AvPacket packet;
  const SPullResult result = m_Host.Pull(m_File, m_Facts.nType, [&](const SUnit& unit) {
    packet = MakePacket(unit.payload);
    packet->pts = static_cast<int64_t>(unit.nTimeMs);
    packet->pos = unit.nPosition;
    return false;
  });
  const uint64_t emptyReads = m_Facts.result.nEmptyReads + result.nEmptyReads;
  m_Facts.result = result;
  m_Facts.result.nEmptyReads = emptyReads;
  if (!packet) {
    m_bEnded = true;
    return nullptr;
  }
  const std::span<const uint8_t> bytes(packet->data, static_cast<size_t>(packet->size));
  ++m_Facts.nUnits;
  m_Facts.nBytes += bytes.size();
  if (m_File.Repeats(m_Facts.nTrack, m_Facts.nBytes)) {
    throw HostError(fmt::format("more than {} times the file's bytes came, and no end", kMostTimesTheFile));
  }
  m_Facts.nHash = AddUnitHash(Hash(bytes), m_Facts.nHash);
  return packet;
}

KeyTeller::KeyTeller(const Host& host, const std::string& path, uint32_t track)
    : m_Host(host), m_sPath(path), m_nTrack(track) {}

bool KeyTeller::IsKey(const TrackInfo& info, std::span<const uint8_t> unit, int64_t position) {
  const bool first = m_bFirst;
  m_bFirst = false;
  if (const std::optional<bool> told = IsKeyUnit(info, unit)) return *told;
  if (!m_Keys) ReadIndex();
  return m_Keys->empty() ? first : m_Keys->contains(position);
}

void KeyTeller::ReadIndex() {
  m_Keys.emplace();
  const CoreView view(m_sPath, m_Host.Options(), LogMask(m_Host.Options().nVerbosity));
  if (!view.HasIndex() || m_nTrack >= view.TrackCount()) return;
  for (uint32_t i = 0; i < view.EntryCount(m_nTrack); ++i) {
    const CoreView::SEntry entry = view.Entry(m_nTrack, i, 0);
    if (entry.bKey) m_Keys->insert(static_cast<int64_t>(entry.nPosition));
  }
}
