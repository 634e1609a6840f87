#include "tools/aviprobe/host/simulated_source.h"

#include <algorithm>
#include <functional>

#include "zu_parser_avi/status.h"

namespace {

constexpr uint64_t kHeaderRead = 12;  // how the library reads a chunk's header: with the form type a list would have
constexpr int64_t kIdBytes = 4;
constexpr const char* kHiddenId = "JUNK";

}  // namespace

SimulatedSource::SimulatedSource(const std::string& path, const SSimulation& simulation)
    : m_File(path, simulation.bStreaming), m_Simulation(simulation) {
  if (simulation.hiddenChunks) m_Hidden = simulation.hiddenChunks(path);
}

int SimulatedSource::ReadAt(int64_t offset, void* buffer, uint64_t* length) noexcept {
  ++m_nReads;
  ++m_Call.nReads;
  int status = AVI_OK;
  if (m_Simulation.failure && m_nReads >= m_Simulation.failure->nRead) {
    status = m_Simulation.failure->nStatus;
    m_bFailed = m_bMadeToFail = true;
  } else if (m_bMayBlock && m_Simulation.nBlockEvery && m_nReads % m_Simulation.nBlockEvery == 0) {
    status = AVI_SOURCE_WOULD_BLOCK;
  }
  if (status < 0) {
    *length = 0;
    return status;
  }
  if (m_Simulation.nChunkBytes) *length = std::min(*length, m_Simulation.nChunkBytes);
  status = m_File.ReadAt(offset, buffer, length);
  if (status >= 0) {
    Hide(offset, buffer, *length);
    Note(offset, buffer, *length);
  }
  if (status == AVI_IO_ERROR) m_bFailed = true;
  return status;
}

void SimulatedSource::BeginCall(std::span<const uint8_t> unit) {
  m_Call = {};
  m_Unit = unit;
  m_nRank = 0;
}

void SimulatedSource::Hide(int64_t offset, void* buffer, uint64_t length) const {
  const auto count = static_cast<int64_t>(length);
  auto hidden = std::lower_bound(m_Hidden.begin(), m_Hidden.end(), offset - (kIdBytes - 1));
  for (; hidden != m_Hidden.end() && *hidden - offset < count; ++hidden) {
    for (int64_t i = 0; i < kIdBytes; ++i) {
      const int64_t at = *hidden + i - offset;
      if (at >= 0 && at < count) static_cast<char*>(buffer)[at] = kHiddenId[i];
    }
  }
}

void SimulatedSource::Note(int64_t offset, const void* buffer, uint64_t length) {
  m_nBytesRead += length;
  if (length == 0) return;
  const auto* to = static_cast<const uint8_t*>(buffer);
  const bool inUnit = !std::less<>()(to, m_Unit.data()) && std::less<>()(to, m_Unit.data() + m_Unit.size());
  const int rank = inUnit ? 3 : length != kHeaderRead ? 2 : 1;
  if (rank < m_nRank) return;
  m_nRank = rank;
  m_Call.nPosition = offset;
}

void SimulatedSource::ThrowParseError() const { throw ParseError(); }

HostError SimulatedSource::ParseError() const {
  const HostError error = m_File.ParseError();
  return m_bMadeToFail ? HostError(std::string(error.what()) + " (reads were made to fail)") : error;
}
