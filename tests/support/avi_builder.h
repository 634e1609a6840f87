#ifndef ZU_TESTS_SUPPORT_AVI_BUILDER_H_
#define ZU_TESTS_SUPPORT_AVI_BUILDER_H_

#include <cstddef>
#include <cstdint>
#include <functional>
#include <initializer_list>
#include <map>
#include <optional>
#include <string>
#include <utility>
#include <vector>

// Writes AVI files in memory. Knows the file format by itself and shares no code with the parser, so that an error made
// on one side does not cancel out on the other.

using Bytes = std::vector<uint8_t>;
using Piece = std::pair<uint64_t, Bytes>;  ///< bytes at a position of a file

/// Bytes, or text that stands for them. A literal keeps its inner zeros.
struct Data {
  Data(Bytes raw) : bytes(std::move(raw)) {}
  Data(const std::string& text) : bytes(text.begin(), text.end()) {}
  template <size_t N>
  Data(const char (&literal)[N]) : bytes(literal, literal + N - 1) {}
  Bytes bytes;
};

Bytes Le16(uint64_t value);
Bytes Le32(uint64_t value);
Bytes Le64(uint64_t value);
void Append(Bytes& to, const Data& more);
Bytes Join(std::initializer_list<Data> parts);
Bytes Head(const Bytes& bytes, size_t count);

/// A chunk, with a pad byte after an odd payload. `declared` replaces the size in its header and changes nothing else.
Bytes Chunk(const std::string& id, const Data& payload, std::optional<uint32_t> declared = {});
Bytes List(const std::string& type, const Data& children, std::optional<uint32_t> declared = {});
Bytes Riff(const std::string& type, const Data& children, std::optional<uint32_t> declared = {});

struct MainHeader {
  uint32_t microSecPerFrame = 40000;
  uint32_t totalFrames = 0;
  std::optional<uint32_t> streams = {};  ///< AviBuilder: as many as it has
  uint32_t width = 0, height = 0;
};
struct StreamHeader {
  std::string type = "vids";
  uint32_t scale = 1, rate = 25, length = 0, sampleSize = 0, bufferSize = 0;
  std::string handler = "none";
};
struct VideoFormat {
  std::string fourcc = "XVID";
  uint32_t width = 320, height = 240;
  Bytes extra = {};
};
struct AudioFormat {
  uint32_t tag = 1, channels = 2, rate = 44100, bytesPerSecond = 176400, blockAlign = 4, bits = 16;
  Bytes extra = {};
};
// The payloads of the header chunks.
Bytes Avih(const MainHeader& header);
Bytes Strh(const StreamHeader& header);
Bytes Strf(const VideoFormat& format);
Bytes Strf(const AudioFormat& format);

struct AviFile {
  Bytes bytes;                   ///< the file, up to the first group that NextRiff placed elsewhere
  std::vector<Piece> far;        ///< the groups from there on
  uint64_t movi = 0;             ///< position of the first chunk header in the first movi list
  std::vector<uint64_t> chunks;  ///< positions of the headers of Chunk and RawChunk, in the order of the calls

  operator const Bytes&() const { return bytes; }
  /// Position in `bytes` of the `nth` appearance, from 0, of four characters. A list's size stands 4 before its type.
  size_t Find(const std::string& id, size_t nth = 0) const;
  AviFile& Put(size_t at, const Data& data);
};

/// How the legacy index counts: from the type of the movi list (the first chunk is at 4), or from the start of the file
/// to a chunk's header or to its data.
enum class Offsets { kFromMovi, kToHeader, kToData };

class AviBuilder {
 public:
  AviBuilder& Main(const MainHeader& header);
  // Each of these begins the next stream.
  AviBuilder& Video(const VideoFormat& format = {}, StreamHeader header = {});
  /// Without a header: one unit is a block, as uncompressed sound has it.
  AviBuilder& Audio(const AudioFormat& format = {}, std::optional<StreamHeader> header = {});
  AviBuilder& Stream(const StreamHeader& header, const Data& format);
  AviBuilder& RawStream(const Data& children, const std::string& suffix = "dc");

  // Raw bytes at the end of the newest strl, at the end of hdrl, before and after the current group's movi list.
  AviBuilder& InStream(const Data& raw) { return Raw(m_streams.back().children, raw); }
  AviBuilder& InHeader(const Data& raw) { return Raw(m_inHeader, raw); }
  AviBuilder& BeforeMovi(const Data& raw) { return Raw(m_groups.back().before, raw); }
  AviBuilder& AfterMovi(const Data& raw) { return Raw(m_groups.back().after, raw); }

  // The contents of the current movi list, in order. `suffix` is dc, wb or tx by the stream's kind unless given.
  AviBuilder& Chunk(unsigned stream, const Data& payload, bool key = true, const std::string& suffix = "");
  AviBuilder& RawChunk(const std::string& id, const Data& payload);
  AviBuilder& InMovi(const Data& raw);
  AviBuilder& Rec();
  AviBuilder& EndRec();
  /// An ix## chunk over the stream's chunks since its last one, named by a super index in the stream's strl.
  AviBuilder& ChunkIndex(unsigned stream, bool field = false);
  /// Begins an AVIX group with a movi list of its own, at position `at` or directly behind the group before.
  AviBuilder& NextRiff(uint64_t at = 0);

  /// An idx1 at the end of the first group, over the group's `Chunk`s and the raw entries among them.
  AviBuilder& OldIndex(Offsets offsets = Offsets::kFromMovi);
  AviBuilder& IndexEntry(const std::string& id, uint32_t flags, uint32_t offset, uint32_t size);

  AviFile Build() const;

 private:
  struct Movi;  // a movi list being written
  struct Group {
    uint64_t at = 0;
    Bytes before = {}, after = {};
    std::vector<std::function<void(Movi&)>> items = {};
  };
  struct StreamList {
    Bytes children;
    std::string suffix;
  };
  using Supers = std::map<std::string, std::vector<Bytes>>;  // super index entries by the id of the indexed chunks

  AviBuilder& Raw(Bytes& to, const Data& raw);
  AviBuilder& Add(std::function<void(Movi&)> item);
  std::string ChunkId(unsigned stream, const std::string& suffix = "") const;
  Bytes Header(const Supers& supers) const;
  AviFile Layout(const Supers& known, Supers& found) const;

  MainHeader m_main;
  std::vector<StreamList> m_streams;
  Bytes m_inHeader;
  std::vector<Group> m_groups = {{}};
  std::optional<Offsets> m_offsets;
  Supers m_supers;  // entries as many as there will be
};

#endif  // ZU_TESTS_SUPPORT_AVI_BUILDER_H_
