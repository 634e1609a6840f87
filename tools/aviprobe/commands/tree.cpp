#include <fmt/format.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <array>
#include <limits>
#include <string_view>

#include "tools/aviprobe/commands/commands.h"
#include "tools/aviprobe/host/file_source.h"
#include "tools/aviprobe/text/json_line.h"
#include "tools/aviprobe/text/names.h"

// Walks the chunks with code of its own, so that a file which the library refuses can be looked into too.

namespace {

struct STreeOptions {
  std::string sFile;
  bool bSkipData = false;  ///< leave out data chunks that are not damaged
};

constexpr int kMaxDepth = 64;
constexpr int64_t kHeaderBytes = 8;  // FourCC and size
constexpr int64_t kTypeBytes = 4;

using Id = std::array<char, 4>;

std::string_view Text(const Id& id) { return {id.data(), id.size()}; }

bool IsDigit(char c) { return c >= '0' && c <= '9'; }
bool IsPrintable(const Id& id) {
  return std::all_of(id.begin(), id.end(), [](char c) { return c >= 0x20 && c < 0x7F; });
}

bool IsFormType(const Id& id) {
  constexpr std::string_view kTypes[] = {"AVI ", "AVIX", "hdrl", "strl", "odml", "movi", "rec ", "INFO"};
  return std::find(std::begin(kTypes), std::end(kTypes), Text(id)) != std::end(kTypes);
}

/// One thing that is wrong with a chunk.
struct SMark {
  const char* pName;  ///< for programs
  const char* pText;  ///< for people; takes the bytes
  int64_t nBytes;     ///< 0 when the mark has none
};

struct SChunk {
  int64_t nOffset;  ///< of the header
  Id id{};
  uint32_t nSize = 0;  ///< as declared
  bool bList = false;  ///< may have children
  bool bType = false;  ///< has a form type
  Id type{};
  std::vector<SMark> marks{};
};

class Walker {
 public:
  Walker(const STreeOptions& options, bool json)
      : m_Source(options.sFile, false), m_bSkipData(options.bSkipData), m_bJson(json) {}

  void Walk() {
    if (!m_bJson) fmt::print("      offset       bytes  chunk\n");
    WalkSiblings(0, std::numeric_limits<int64_t>::max(), 0, false);
  }

 private:
  /// All chunks from `at` to `end`, which may lie beyond the end of the file, and what is in them. Each byte is looked
  /// at in one list only: whatever the sizes say, the time is bounded by the file's length.
  void WalkSiblings(int64_t at, int64_t end, int depth, bool inMovi) {
    const int64_t readable = std::min(end, m_Source.Size());
    while (at < readable) {
      SChunk chunk{at};
      if (!ReadHeader(at, readable, &chunk)) return PrintLeftOver(at, readable - at, depth);
      const bool openEnded = chunk.bList && chunk.nSize == 0 && chunk.bType;
      const int64_t dataEnd = openEnded ? readable : at + kHeaderBytes + chunk.nSize;
      int64_t next = std::min(dataEnd + (chunk.nSize & 1), readable);

      const auto mark = [&](const char* name, const char* text, int64_t bytes = 0) {
        chunk.marks.push_back({name, text, bytes});
      };
      if (!IsPrintable(chunk.id)) {
        // A damaged name in front of something sound is one bad chunk; otherwise this is no chunk at all.
        const bool sound = dataEnd <= readable && (next == readable || IsPlausible(next, readable));
        if (!sound) return PrintLeftOver(at, readable - at, depth);
        mark("bad_id", "FourCC not printable");
      }
      if (chunk.nSize == 0) mark("empty", openEnded ? "size 0, shown to the end of what holds it" : "size 0");
      if (chunk.bList && !chunk.bType && chunk.nSize > 0) mark("no_type", "no room for its form type");
      if (dataEnd > end) mark("past_list", "runs {} bytes past the end of its list", dataEnd - end);
      if (dataEnd > m_Source.Size()) {
        mark("past_file", "runs {} bytes past the end of the file", dataEnd - m_Source.Size());
      }
      if (dataEnd < next && !IsPlausible(next, readable) && IsPlausible(dataEnd, readable)) {
        mark("no_pad", "no pad byte");
        next = dataEnd;
      }
      const bool tooDeep = chunk.bType && depth == kMaxDepth;
      if (tooDeep) mark("too_deep", "lists nested too deep to go on");

      const bool data = inMovi && !chunk.bList && IsDigit(chunk.id[0]) && IsDigit(chunk.id[1]);
      if (!data || !m_bSkipData || !chunk.marks.empty()) Print(chunk, depth);
      if (chunk.bType && !tooDeep) {
        const bool movi = inMovi || Text(chunk.type) == "movi";
        WalkSiblings(at + kHeaderBytes + kTypeBytes, openEnded ? end : std::min(dataEnd, end), depth + 1, movi);
      }
      at = next;
    }
  }

  /// @return how many bytes there are, up to the size of `bytes`.
  template <size_t N>
  size_t Read(int64_t at, std::array<char, N>* bytes) {
    uint64_t length = N;
    if (m_Source.ReadAt(at, bytes->data(), &length) == AVI_IO_ERROR) throw m_Source.ParseError();
    return length;
  }

  bool ReadHeader(int64_t at, int64_t end, SChunk* chunk) {
    std::array<char, kHeaderBytes + kTypeBytes> raw{};
    const auto there = std::min(static_cast<int64_t>(Read(at, &raw)), end - at);
    if (there < kHeaderBytes) return false;
    std::copy_n(raw.begin(), 4, chunk->id.begin());
    for (size_t i = 0; i < 4; ++i) chunk->nSize |= uint32_t{static_cast<uint8_t>(raw[4 + i])} << (8 * i);
    chunk->bList = Text(chunk->id) == "RIFF" || Text(chunk->id) == "LIST";
    std::copy_n(raw.begin() + kHeaderBytes, kTypeBytes, chunk->type.begin());
    // A recording that broke off has lists of size 0, in front of all that it holds.
    const bool sized = chunk->nSize >= kTypeBytes || (chunk->nSize == 0 && IsFormType(chunk->type));
    chunk->bType = chunk->bList && there == kHeaderBytes + kTypeBytes && sized;
    return true;
  }

  /// Whether a chunk with bytes in it begins here and ends in time.
  bool IsPlausible(int64_t at, int64_t end) {
    SChunk chunk{at};
    return ReadHeader(at, end, &chunk) && IsPrintable(chunk.id) && chunk.nSize > 0 &&
           chunk.nSize <= end - at - kHeaderBytes;
  }

  void Print(const SChunk& chunk, int depth) const {
    if (m_bJson) {
      Json marks = Json::array();
      for (const SMark& mark : chunk.marks) {
        marks.push_back({{"mark", mark.pName}});
        if (mark.nBytes) marks.back()["bytes"] = mark.nBytes;
      }
      return PrintJsonLine({{"record", "chunk"},
                            {"offset", chunk.nOffset},
                            {"bytes", chunk.nSize},
                            {"depth", depth},
                            {"id", Printable(Text(chunk.id))},
                            {"type", chunk.bType ? Json(Printable(Text(chunk.type))) : Json()},
                            {"marks", marks}});
    }
    fmt::print("{:>12} {:>11}  {:{}}{}{}{}", chunk.nOffset, chunk.nSize, "", 2 * depth, Printable(Text(chunk.id)),
               chunk.bType ? " " : "", chunk.bType ? Printable(Text(chunk.type)) : "");
    const char* separator = "  !! ";
    for (const SMark& mark : chunk.marks) {
      fmt::print("{}{}", separator, fmt::format(fmt::runtime(mark.pText), mark.nBytes));
      separator = ", ";
    }
    fmt::print("\n");
  }

  void PrintLeftOver(int64_t at, int64_t bytes, int depth) const {
    if (m_bJson) {
      return PrintJsonLine({{"record", "left_over"}, {"offset", at}, {"bytes", bytes}, {"depth", depth}});
    }
    fmt::print("{:>12} {:>11}  {:{}}!! left over, no chunk\n", at, bytes, "", 2 * depth);
  }

  FileSource m_Source;
  bool m_bSkipData;
  bool m_bJson;
};

int RunTree(const SHostOptions& host, const STreeOptions& options) {
  Walker(options, host.bJson).Walk();
  return 0;
}

}  // namespace

void AddTree(CLI::App& app, Command& command) {
  auto options = std::make_shared<STreeOptions>();
  CLI::App* tree = app.add_subcommand("tree", "List the chunks of a file and what is wrong with them");
  tree->add_option("FILE", options->sFile, "Any file")->required();
  tree->add_flag("--skip-data", options->bSkipData,
                 "Without the data chunks in movi that have nothing wrong with them");
  tree->callback([=, &command] { command = [=](const SHostOptions& host) { return RunTree(host, *options); }; });
}
