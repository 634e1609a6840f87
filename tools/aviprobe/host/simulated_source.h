#ifndef ZU_TOOLS_AVIPROBE_HOST_SIMULATED_SOURCE_H_
#define ZU_TOOLS_AVIPROBE_HOST_SIMULATED_SOURCE_H_

#include <cstdint>
#include <functional>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "tools/aviprobe/host/file_source.h"

/// What is simulated of a worse source than a file. Reads are counted from 1, those of Open included.
struct SSimulation {
  bool bStreaming = false;   ///< hide the file's length, as a source that is still being received does
  uint64_t nChunkBytes = 0;  ///< a read delivers at most that many; 0: all that it is asked for
  struct SFailure {
    uint64_t nRead;  ///< this read and all behind it
    int nStatus;     ///< return this status, below 0
  };
  std::optional<SFailure> failure{};
  /// Every read with a multiple of this number would block; 0: none. 2 or more. Open would take that for a failure, so
  /// while it runs the source is one that waits.
  uint64_t nBlockEvery = 0;
  /// Finds the headers of chunks that are shown as "JUNK", by offset; empty: all are shown as they are.
  /// @throw HostError when the file cannot be read.
  std::function<std::vector<int64_t>(const std::string& path)> hiddenChunks{};
};

/// A file as a source that may be bad, and that keeps count of what is asked of it.
class SimulatedSource final : public IDataSource {
 public:
  /// @throw HostError as FileSource does.
  SimulatedSource(const std::string& path, const SSimulation& simulation);

  int Prepare() noexcept override { return m_File.Prepare(); }
  int GetSize(int64_t* length) noexcept override { return m_File.GetSize(length); }
  int ReadAt(int64_t offset, void* buffer, uint64_t* length) noexcept override;
  int SetPosition(int64_t offset, int origin) noexcept override { return m_File.SetPosition(offset, origin); }
  int IsStreaming() noexcept override { return m_File.IsStreaming(); }

  /// Open has returned: from now on reads may block.
  void MayBlock() { m_bMayBlock = true; }

  /// Bytes of the file, hidden or not.
  int64_t Size() const { return m_File.Size(); }
  /// Whether a read has failed, made to or not.
  bool HasFailed() const { return m_bFailed; }
  /// What to tell when the file could not be parsed.
  HostError ParseError() const;
  /// The same for core_view.cpp, which knows no types at run time and so must not throw any.
  [[noreturn]] void ThrowParseError() const;

  // All reads up to now.
  uint64_t Reads() const { return m_nReads; }
  uint64_t BytesRead() const { return m_nBytesRead; }

  /// The reads since BeginCall.
  struct SCall {
    uint32_t nReads = 0;
    int64_t nPosition = -1;  ///< of the last one that brought bytes of a unit, as far as a host can tell; -1: none
  };
  /// One call of a data operation begins. @param unit  where its unit goes. The library re-cuts some sound and reads it
  /// to memory of its own, as it does headers: what goes to `unit` counts first, then what is no header by its length.
  void BeginCall(std::span<const uint8_t> unit);
  const SCall& Call() const { return m_Call; }

 private:
  void Hide(int64_t offset, void* buffer, uint64_t length) const;
  void Note(int64_t offset, const void* buffer, uint64_t length);

  FileSource m_File;
  SSimulation m_Simulation;
  std::vector<int64_t> m_Hidden;  // headers, by offset
  uint64_t m_nReads = 0, m_nBytesRead = 0;
  bool m_bFailed = false, m_bMadeToFail = false, m_bMayBlock = false;
  SCall m_Call;
  std::span<const uint8_t> m_Unit;
  int m_nRank = 0;  // of m_Call.nPosition: 0 none, then the better it is
};

#endif  // ZU_TOOLS_AVIPROBE_HOST_SIMULATED_SOURCE_H_
