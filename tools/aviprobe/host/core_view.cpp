#include "tools/aviprobe/host/core_view.h"

#include <algorithm>
#include <iterator>
#include <limits>

#include "avifile/avi_file_parser.h"
#include "source/source_reader.h"
#include "tools/aviprobe/text/names.h"
#include "zu_parser_avi/track_info.h"

CoreView::CoreView(const std::string& path, const SSimulation& simulation, int logMask)
    : m_pSource(std::make_unique<SimulatedSource>(
          path, SSimulation{.bStreaming = simulation.bStreaming, .hiddenChunks = simulation.hiddenChunks})),
      m_pReader(std::make_unique<AVISourceReader>(m_pSource.get())),
      m_pParser(std::make_unique<CAVIFileParser>()) {
  debug_level = logMask;  // the tool's own copy: the library that it loads has another
  m_pParser->Init(m_pReader.get());
  if (!m_pParser->ParseAVI(0)) m_pSource->ThrowParseError();
}

CoreView::~CoreView() = default;

const char* CoreView::IndexKind() const {
  constexpr const char* kKinds[] = {"none", "legacy idx1", "OpenDML"};
  const uint32_t kind = m_pParser->GetIndexType();
  return kind < std::size(kKinds) ? kKinds[kind] : "unknown";
}

bool CoreView::HasIndex() const { return m_pParser->GetIndexType() != 0; }

uint32_t CoreView::TrackCount() const { return static_cast<uint32_t>(std::max(m_pParser->GetStreamNum(), 0)); }

const char* CoreView::TrackType(uint32_t track) const {
  const uint32_t type = m_pParser->GetStreamType(static_cast<int>(track));
  if (IsAudioStreamType(type)) return TrackTypeName(AVI_TRACK_AUDIO);
  if (type == STREAM_TYPE_SUBTITLE) return TrackTypeName(AVI_TRACK_TEXT);
  const bool none = type == STREAM_TYPE_UNSUPPORTED || type == STREAM_TYPE_INVALID;
  return TrackTypeName(none ? AVI_TRACK_NONE : AVI_TRACK_VIDEO);
}

uint32_t CoreView::EntryCount(uint32_t track) const {
  return IndexCount(m_pParser->GetStream(static_cast<int>(track)));
}

CoreView::SEntry CoreView::Entry(uint32_t track, uint32_t entry, uint64_t bytesBefore) const {
  // The readers multiply by 1000 in 32 bits and end the process where that does not fit.
  constexpr uint32_t kCountable = std::numeric_limits<uint32_t>::max() / 1000;
  const int stream = static_cast<int>(track);
  const SIndexEntry& found = *IndexEntry(m_pParser->GetStream(stream), entry);
  SEntry row{found.qwOffset, ChunkSize(found), IsKeyFrame(found), std::nullopt};
  if (entry <= kCountable) row.nTimeMs = m_pParser->EntryTime(stream, entry, bytesBefore);
  return row;
}
