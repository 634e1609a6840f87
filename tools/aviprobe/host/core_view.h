#ifndef ZU_TOOLS_AVIPROBE_HOST_CORE_VIEW_H_
#define ZU_TOOLS_AVIPROBE_HOST_CORE_VIEW_H_

#include <cstdint>
#include <memory>
#include <optional>
#include <string>

#include "tools/aviprobe/host/simulated_source.h"

class AVISourceReader;
class CAVIFileParser;

/// A file's index as the library's own parse finds it. No host can ask for it: behind this class the tool uses the
/// library's objects, of which it holds a copy of its own. All else in the tool is a host and goes through the library.
class CoreView {
 public:
  struct SEntry {
    uint64_t nPosition;               ///< of the chunk's data in the file
    uint32_t nBytes;                  ///< of the data
    bool bKey;                        ///< key frame
    std::optional<uint32_t> nTimeMs;  ///< none beyond what the readers can count
  };

  /// @param simulation  only what decides which index there is: the hidden length and the hidden chunks.
  /// @param logMask  what the parse may log, see LogMask().
  /// @throw HostError that starts with the file's name.
  CoreView(const std::string& path, const SSimulation& simulation, int logMask);
  ~CoreView();

  /// "none", "legacy idx1" or "OpenDML".
  const char* IndexKind() const;
  bool HasIndex() const;
  uint32_t TrackCount() const;
  /// As TrackTypeName() has it.
  const char* TrackType(uint32_t track) const;
  uint32_t EntryCount(uint32_t track) const;
  /// @param entry  below EntryCount(). @param bytesBefore  bytes of the entries before it.
  SEntry Entry(uint32_t track, uint32_t entry, uint64_t bytesBefore) const;

 private:
  std::unique_ptr<SimulatedSource> m_pSource;
  std::unique_ptr<AVISourceReader> m_pReader;
  std::unique_ptr<CAVIFileParser> m_pParser;  // last: it reads until it is gone
};

#endif  // ZU_TOOLS_AVIPROBE_HOST_CORE_VIEW_H_
