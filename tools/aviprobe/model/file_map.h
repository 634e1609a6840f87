#ifndef ZU_TOOLS_AVIPROBE_MODEL_FILE_MAP_H_
#define ZU_TOOLS_AVIPROBE_MODEL_FILE_MAP_H_

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "tools/aviprobe/host/file_source.h"
#include "tools/aviprobe/model/fourcc.h"

// What stands in a file, found by a walk of the tool's own: a file that the library refuses can be looked into as well,
// and what the library delivers can be compared with what is there. Layouts: RIFF and AVI 1.0 as publicly documented,
// and the OpenDML extensions to them, version 1.02.

constexpr int64_t kChunkHeaderBytes = 8;  ///< FourCC and size
constexpr int16_t kNoStream = -1;

/// One thing that is wrong with a chunk.
enum class EMark {
  kPastList,     ///< runs past the end of its list; with bytes
  kPastFile,     ///< runs past the end of the file; with bytes
  kEmpty,        ///< size 0 where there should be something
  kBadId,        ///< FourCC not printable
  kUnknownId,    ///< no chunk that an AVI file has
  kMisplacedId,  ///< known, but not in this list
  kNoType,       ///< a list without room for its form type
  kNoPad,        ///< odd, and the next header stands where the pad byte should be
  kTooDeep,      ///< lists nested too deep to go on
  kWrongSize,    ///< the next chunk begins elsewhere than the size says; with the size that would be right
  kHidesData,    ///< a list of a type that AVI does not know, with chunks of data in it
};

struct SMark {
  EMark mark;
  int64_t nBytes = 0;  ///< what the mark's text says of bytes; 0 when it has none
};

/// A chunk, in the order of the file. Its parent comes before it.
struct SChunk {
  int64_t nOffset = 0;  ///< of the header
  uint32_t nSize = 0;   ///< bytes of data as declared, form type included
  FourCC id{};
  FourCC type{};         ///< form type of a list
  int32_t nParent = -1;  ///< index in SFileMap::chunks
  int16_t nDepth = 0;
  int16_t nStream = kNoStream;  ///< of a data chunk "##xx" in movi
  bool bList = false;           ///< "RIFF" or "LIST" with a form type
  bool bData = false;           ///< a data chunk of movi
  bool bMarked = false;         ///< has marks in SFileMap::marks

  int64_t DataOffset() const { return nOffset + kChunkHeaderBytes + (bList ? 4 : 0); }
  /// Where its data end by its own word.
  int64_t End() const { return nOffset + kChunkHeaderBytes + nSize; }
};

struct SMarked {
  uint32_t nChunk;  ///< index in SFileMap::chunks
  SMark mark;
};

/// Bytes that belong to no chunk.
struct SLeftOver {
  int64_t nOffset = 0;
  int64_t nBytes = 0;
  int16_t nDepth = 0;
  bool bResynced = false;  ///< a plausible chunk was found behind it
};

/// A field of a header, decoded for showing.
struct SField {
  int64_t nOffset;
  std::string sName;     ///< as the file format's documents name it: "dwMicroSecPerFrame"
  std::string sRaw;      ///< the bytes' value: "40000", "0x00000910", "XVID"
  std::string sMeaning;  ///< for people: "25 frames/s", "has an index, is interleaved"; may be empty
};

/// "avih", the main header.
struct SMainHeader {
  int64_t nOffset = 0;  ///< of its data
  uint32_t nMicroSecPerFrame = 0, nMaxBytesPerSec = 0, nPaddingGranularity = 0, nFlags = 0, nTotalFrames = 0,
           nInitialFrames = 0, nStreams = 0, nSuggestedBufferSize = 0, nWidth = 0, nHeight = 0;
};

/// One "strl" list.
struct SStreamHeader {
  int64_t nListOffset = 0;
  std::optional<int64_t> nStrhOffset{}, nStrfOffset{};  ///< of their data; none: there is no such chunk
  FourCC kind{};                                        ///< "vids", "auds", "txts", "mids"
  FourCC handler{};
  uint32_t nFlags = 0, nInitialFrames = 0, nScale = 0, nRate = 0, nStart = 0, nLength = 0, nSuggestedBufferSize = 0,
           nSampleSize = 0;
  std::vector<uint8_t> format{};  ///< "strf", at most 64 KiB of it
  std::string sName{};            ///< "strn"

  bool IsVideo() const { return kind == FourCC("vids"); }
  bool IsAudio() const { return kind == FourCC("auds"); }
  /// biCompression of video; of other streams no characters.
  FourCC Compression() const;
  /// biWidth and biHeight as they stand; a negative height means that lines run from the top.
  int32_t Width() const;
  int32_t Height() const;
  /// wFormatTag of audio; of an extensible one that of the sub-format, 0xFFFE when that stands for no tag; 0 of other
  /// streams.
  uint16_t FormatTag() const;
  uint32_t SamplesPerSec() const;
  uint32_t AvgBytesPerSec() const;
  uint16_t BlockAlign() const;
  uint16_t Channels() const;
  uint16_t BitsPerSample() const;
  /// Seconds that the header states; none when scale or rate are 0.
  std::optional<double> DeclaredSeconds() const;
};

/// One entry of an index, of "idx1" or of an OpenDML chunk index.
struct SIndexRef {
  int64_t nAt = 0;        ///< of the entry itself in the file
  int64_t nPosition = 0;  ///< of the chunk's header that it names, resolved; may lie anywhere, below 0 too
  uint32_t nSize = 0;     ///< bytes of data that it states
  FourCC id{};            ///< as it states; of OpenDML that of the index's header
  int16_t nStream = kNoStream;
  bool bKey = false;
  int32_t nChunk = -1;  ///< the chunk that the walk found at that position; -1: none begins there
};

/// One chunk index of OpenDML, "ix##" or an "indx" that holds entries itself.
struct SChunkIndex {
  int64_t nOffset = 0;  ///< of its chunk's header
  int16_t nStream = kNoStream;
  bool bReadable = false;  ///< a header of known type with entries inside its chunk
  uint32_t nEntries = 0;   ///< as it states
  uint32_t nFirst = 0;     ///< of its entries in SFileMap::odml
  uint32_t nRead = 0;      ///< entries there
};

/// One slot of a super index, "indx".
struct SSuperSlot {
  int64_t nAt = 0;
  int16_t nStream = kNoStream;
  uint64_t nOffset = 0;  ///< of the "ix##" chunk
  uint32_t nSize = 0, nDuration = 0;
  bool bFound = false;  ///< a readable chunk index stands there
};

struct SFileMap {
  std::string sPath;
  int64_t nSize = 0;  ///< of the file
  std::vector<SChunk> chunks;
  std::vector<SMarked> marks;       ///< by chunk
  std::vector<SLeftOver> leftOver;  ///< by offset
  std::optional<uint32_t> joined;   ///< the RIFF chunk of another AVI file behind this one, see OwnChunks
  std::optional<SMainHeader> main;
  std::vector<SStreamHeader> streams;
  std::vector<int32_t> movis;     ///< the "movi" lists
  std::optional<int32_t> idx1;    ///< its chunk, the first one
  int64_t nIdx1Base = 0;          ///< what is added to its offsets
  std::vector<SIndexRef> legacy;  ///< its entries
  std::vector<SChunkIndex> chunkIndexes;
  std::vector<SIndexRef> odml;  ///< the entries of all chunk indexes, one behind the other
  std::vector<SSuperSlot> superSlots;

  bool IsAvi() const;  ///< begins with RIFF "AVI "
  const SChunk& Chunk(size_t i) const { return chunks[i]; }
  /// The chunks of the file itself: of another AVI file behind it players see nothing, nor do headers and indexes here.
  size_t OwnChunks() const { return joined.value_or(static_cast<uint32_t>(chunks.size())); }
  /// The chunk whose header begins there; none otherwise.
  const SChunk* ChunkAt(int64_t offset) const;
  /// Marks of one chunk.
  std::vector<SMark> MarksOf(size_t chunk) const;
  /// Bytes of a chunk's data that are in the file.
  int64_t PresentBytes(const SChunk& chunk) const;
};

struct SMapOptions {
  bool bResync = true;   ///< search on behind damage for the next plausible chunk
  bool bEntries = true;  ///< read the indexes' entries
  bool bData = true;     ///< walk through the lists of data; without, a long file costs no more than a short one
};

/// Walks a file. Each byte is looked at a bounded number of times: the time follows the file's length, whatever stands
/// in it. @throw HostError when it cannot be read.
SFileMap MapFile(FileSource& source, const std::string& path, const SMapOptions& options = {});

/// The fields of the headers that a chunk holds: avih, strh, strf, indx, ix##, idx1 (its first entries), dmlh; empty
/// for any other chunk.
std::vector<SField> DecodeFields(FileSource& source, const SFileMap& map, size_t chunk);

/// The name of a mark for programs ("past_list") and its text for people, with its bytes.
const char* MarkName(EMark mark);
std::string MarkText(const SMark& mark);

#endif  // ZU_TOOLS_AVIPROBE_MODEL_FILE_MAP_H_
