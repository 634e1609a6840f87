#ifndef ZU_TOOLS_AVIPROBE_HOST_HOST_H_
#define ZU_TOOLS_AVIPROBE_HOST_HOST_H_

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "tools/aviprobe/host/host_error.h"
#include "tools/aviprobe/host/parser_library.h"
#include "tools/aviprobe/host/simulated_source.h"

/// What the user chose for all commands.
struct SHostOptions : SSimulation {
  std::string sLibrary;     ///< path of the parser library, empty: look for it
  int nVerbosity = 0;       ///< see ParserLibrary
  bool bJson = false;       ///< print JSON, one record a line
  bool bInProcess = false;  ///< no child process for a file's work, for debuggers: a crash is the tool's
  unsigned nSeconds = 600;  ///< that the work on one file may take, see ForEachFile
  /// Bytes that a unit may have; none: as many as units of the file can have, see Host::Open.
  std::optional<size_t> nBuffer{};
};

/// Units up to this size are what a host should be ready for; see STrackPlayback::nGrown.
constexpr size_t kUsualBuffer = 4u << 20;
/// No unit gets more, whatever the file says.
constexpr size_t kLargestBuffer = 256u << 20;

/// One access unit. `payload` lies in the host's buffer and lasts until the next pull.
struct SUnit {
  std::span<const uint8_t> payload;
  unsigned long nTimeMs;
  int64_t nPosition = -1;  ///< in the file, of the last read for it; -1: none was made in its call
  uint32_t nReads = 0;     ///< source reads of its call
};

enum class Ending {
  kEndOfTrack,
  kFailed,   ///< the parser returned an error
  kStalled,  ///< success without bytes, too often in a row
  kStopped,  ///< the callback wanted no more
};

struct SPullResult {
  Ending ending;
  int nStatus;           ///< the parser's last status
  uint64_t nEmptyReads;  ///< successes without bytes
  size_t nBuffer = 0;    ///< bytes that the host had for a unit
  /// Bytes of a unit that did not fit and so ended the track. The library does not tell it from the end: the host asks
  /// once more with all the room that the file could fill. 0: it was the end.
  size_t nTooLarge = 0;
  bool bRepeats = false;  ///< stalled because the same units came again and again
};

/// The library refused a file that could be read.
struct RefusedError : HostError {
  RefusedError(const HostError& error, int status) : HostError(error), nStatus(status) {}
  int nStatus;
};

/// Without an index the library walks through the file once. What it adds to the units, such as parameter sets in front
/// of small pictures, is within this; a read that would block can make it begin again at the same place for ever.
constexpr uint64_t kMostTimesTheFile = 16;

/// Whether seeks move a track, by its record.
bool HasSeeks(const TrackInfo& info);

/// A file opened through the parser.
class MediaFile {
 public:
  /// @throw HostError that starts with the file's name, RefusedError when it is the library that does not want it.
  MediaFile(const ParserLibrary& library, const std::string& path, const SSimulation& simulation);

  IParser& Parser() const { return *m_pParser; }
  const std::string& Path() const { return m_sPath; }
  SimulatedSource& Source() const { return *m_pSource; }

  /// Milliseconds.
  unsigned long Duration() const;
  uint32_t TrackCount() const { return m_nTracks; }
  /// The record of a track below TrackCount(); one of no type when the parser has none.
  const TrackInfo& Track(uint32_t track) const;
  /// Whether the parser can be made to deliver this track: of several video tracks it plays the first.
  bool Plays(uint32_t track) const;
  /// The first track of a type that the parser plays.
  std::optional<uint32_t> FirstTrack(uint32_t trackType) const;
  /// @throw HostError that starts with the file's name when the parser does not play this track.
  void CheckPlays(uint32_t track) const;
  /// Tells the parser which track of its type to play from now on. Moves no cursor.
  void Select(uint32_t track) const;

  /// Whether units of so many bytes are more than a walk through the file gives. See kMostTimesTheFile.
  bool Repeats(uint32_t track, uint64_t bytes) const;

  /// What the decoder of a track needs before the first unit. Selects the track.
  struct SConfig {
    unsigned long nLength = 0;       ///< bytes that it has
    std::span<const uint8_t> bytes;  ///< in the buffer that was given; empty when it is larger than that
  };
  SConfig ReadConfig(uint32_t track, std::span<uint8_t> buffer) const;
  /// The same, however long it is.
  std::vector<uint8_t> WholeConfig(uint32_t track) const;

 private:
  std::string m_sPath;
  std::unique_ptr<SimulatedSource> m_pSource;
  ParserHandle m_pParser;  // after the source, which it reads until it is closed
  uint32_t m_nTracks;
};

/// The library with the host's buffer: what every command works with.
class Host {
 public:
  /// @throw HostError when the library cannot be loaded.
  explicit Host(const SHostOptions& options);

  /// Unless the user gave the size of the buffer, it grows to what a unit of this file can have: a unit above the
  /// buffer would look like the end of its track. Memory that no unit fills is never touched and costs nothing.
  /// @throw HostError that starts with the file's name, RefusedError when it is the library that does not want it.
  MediaFile Open(const std::string& path) const;

  /// Pulls the units of one type of track, from where the parser stands, until `onUnit` returns false or no more come.
  SPullResult Pull(const MediaFile& file, uint32_t trackType, const std::function<bool(const SUnit&)>& onUnit) const;

  /// The same for one track from its start, which is selected first.
  SPullResult PullTrack(const MediaFile& file, uint32_t track, const std::function<bool(const SUnit&)>& onUnit) const;

  std::span<uint8_t> Buffer() const { return m_pBuffer->Bytes(); }
  const SHostOptions& Options() const { return m_Options; }
  bool Json() const { return m_Options.bJson; }

 private:
  class UnitBuffer {
   public:
    std::span<uint8_t> Bytes() const { return {m_pBytes.get(), m_nBytes}; }
    /// Makes room; what was in it is lost. @return whether there is memory.
    bool Reserve(size_t bytes);

   private:
    std::unique_ptr<uint8_t[]> m_pBytes;
    size_t m_nBytes = 0;
  };
  size_t TooLarge(const MediaFile& file, uint32_t trackType) const;

  SHostOptions m_Options;
  ParserLibrary m_Library;
  std::unique_ptr<UnitBuffer> m_pBuffer;
};

/// Hash of no bytes.
constexpr uint64_t kHashStart = 0xCBF29CE484222325u;
/// FNV-1a of 64 bits, carried on from `hash`.
uint64_t Hash(std::span<const uint8_t> bytes, uint64_t hash = kHashStart);

/// Writes out what is printed. @throw HostError when it, or anything before, could not be written.
void FlushStdout();
/// One line on stderr, after all that was printed before.
void PrintError(const std::string& message);
/// Why a pull ended, for an error message; empty after the end of the track or when the callback stopped it.
std::string Trouble(const SPullResult& result);
/// The same as one word for programs.
const char* EndingName(Ending ending);

#endif  // ZU_TOOLS_AVIPROBE_HOST_HOST_H_
