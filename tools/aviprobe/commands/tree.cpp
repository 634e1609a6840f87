#include <fmt/format.h>

#include <memory>
#include <string>
#include <vector>

#include "tools/aviprobe/commands/command_options.h"
#include "tools/aviprobe/commands/commands.h"
#include "tools/aviprobe/host/file_source.h"
#include "tools/aviprobe/host/isolation.h"
#include "tools/aviprobe/model/file_map.h"
#include "tools/aviprobe/text/json_line.h"
#include "tools/aviprobe/text/names.h"
#include "tools/aviprobe/text/shown.h"

namespace {

struct STreeOptions {
  std::vector<std::string> files;
  bool bSkipData = false;  ///< leave out data chunks that are not damaged
  bool bResync = false;
  bool bFields = false;
};

/// Prints a map in the order of the file.
class Printer {
 public:
  Printer(FileSource& source, const SFileMap& map, const STreeOptions& options, bool json)
      : m_Source(source), m_Map(map), m_Options(options), m_bJson(json) {}

  void Print() {
    if (m_bJson) {
      PrintJsonLine({{"record", "tree"}, {"file", m_Map.sPath}, {"bytes", m_Map.nSize}});
    } else {
      fmt::print("      offset       bytes  chunk\n");
    }
    auto gap = m_Map.leftOver.begin();
    for (size_t i = 0; i < m_Map.chunks.size(); ++i) {
      const SChunk& chunk = m_Map.Chunk(i);
      for (; gap != m_Map.leftOver.end() && gap->nOffset < chunk.nOffset; ++gap) PrintLeftOver(*gap);
      if (chunk.bData && m_Options.bSkipData && !chunk.bMarked) continue;
      PrintChunk(i);
      if (m_Options.bFields) PrintFields(i);
    }
    for (; gap != m_Map.leftOver.end(); ++gap) PrintLeftOver(*gap);
  }

 private:
  void PrintChunk(size_t number) const {
    const SChunk& chunk = m_Map.Chunk(number);
    const std::vector<SMark> marks = chunk.bMarked ? m_Map.MarksOf(number) : std::vector<SMark>();
    if (m_bJson) return PrintJsonChunk(chunk, marks);
    fmt::print("{:>12} {:>11}  {:{}}{}{}{}", chunk.nOffset, chunk.nSize, "", 2 * chunk.nDepth,
               Printable(chunk.id.Text()), chunk.bList ? " " : "", chunk.bList ? Printable(chunk.type.Text()) : "");
    const char* separator = "  !! ";
    for (const SMark& mark : marks) {
      const bool openEnded = mark.mark == EMark::kEmpty && chunk.bList;
      fmt::print("{}{}{}", separator, MarkText(mark), openEnded ? ", shown to the end of what holds it" : "");
      separator = ", ";
    }
    fmt::print("\n");
  }

  void PrintJsonChunk(const SChunk& chunk, const std::vector<SMark>& found) const {
    Json marks = Json::array();
    for (const SMark& mark : found) {
      Json shown{{"mark", MarkName(mark.mark)}};
      if (mark.mark == EMark::kWrongSize) {
        shown["should_be"] = mark.nBytes;
      } else if (mark.nBytes) {
        shown["bytes"] = mark.nBytes;
      }
      marks.push_back(shown);
    }
    PrintJsonLine({{"record", "chunk"},
                   {"offset", chunk.nOffset},
                   {"bytes", chunk.nSize},
                   {"depth", chunk.nDepth},
                   {"id", Printable(chunk.id.Text())},
                   {"type", chunk.bList ? Json(Printable(chunk.type.Text())) : Json()},
                   {"marks", marks}});
  }

  void PrintLeftOver(const SLeftOver& gap) const {
    if (m_bJson) {
      return PrintJsonLine({{"record", "left_over"},
                            {"offset", gap.nOffset},
                            {"bytes", gap.nBytes},
                            {"depth", gap.nDepth},
                            {"skipped", gap.bResynced}});
    }
    fmt::print("{:>12} {:>11}  {:{}}!! {}\n", gap.nOffset, gap.nBytes, "", 2 * gap.nDepth,
               gap.bResynced ? "skipped, no chunk; a chunk was found behind it" : "left over, no chunk");
  }

  /// Entries of the index that a chunk is; 0 of any other chunk.
  size_t Entries(size_t number) const {
    if (m_Map.idx1 && static_cast<size_t>(*m_Map.idx1) == number) return m_Map.legacy.size();
    const SChunk& chunk = m_Map.Chunk(number);
    for (const SChunkIndex& index : m_Map.chunkIndexes) {
      if (index.nOffset == chunk.nOffset) return index.nRead;
    }
    return 0;
  }

  void PrintFields(size_t number) const {
    size_t entries = 0;
    for (const SField& field : DecodeFields(m_Source, m_Map, number)) {
      entries += field.sName.starts_with("aIndex[");
      if (m_bJson) {
        PrintJsonLine({{"record", "field"},
                       {"offset", field.nOffset},
                       {"chunk", m_Map.Chunk(number).nOffset},
                       {"name", field.sName},
                       {"raw", field.sRaw},
                       {"meaning", field.sMeaning}});
      } else {
        fmt::print("{:>12} {:>11}  {:{}}. {} = {}{}{}\n", field.nOffset, "", "", 2 * m_Map.Chunk(number).nDepth + 2,
                   field.sName, field.sRaw, field.sMeaning.empty() ? "" : "  ", field.sMeaning);
      }
    }
    if (m_bJson || entries == 0) return;
    if (const size_t all = Entries(number); all > entries) {
      fmt::print("{:>24}  {:{}}. and {} more entries\n", "", "", 2 * m_Map.Chunk(number).nDepth + 2, all - entries);
    }
  }

  FileSource& m_Source;
  const SFileMap& m_Map;
  const STreeOptions& m_Options;
  bool m_bJson;
};

void PrintTree(const std::string& path, const STreeOptions& options, bool json) {
  FileSource source(path, false);
  const SFileMap map = MapFile(source, path, {.bResync = options.bResync});
  Printer(source, map, options, json).Print();
}

int RunTree(const SHostOptions& host, const STreeOptions& options) {
  int code = 0;
  for (const std::string& path : options.files) {
    if (!host.bJson && options.files.size() > 1)
      fmt::print("{}{}:\n", &path == &options.files[0] ? "" : "\n", Shown(path));
    try {
      PrintTree(path, options, host.bJson);
    } catch (const HostError& error) {
      PrintError(error.what());
      code = kExitUnreadable;
    }
  }
  return code;
}

}  // namespace

void AddTree(CLI::App& app, Command& command) {
  auto options = std::make_shared<STreeOptions>();
  CommandOptions tree(app, "tree", "List the chunks of files and what is wrong with them");
  tree.Files(&options->files, "Any files");
  tree.Flag("--skip-data", &options->bSkipData, "Of the data chunks in movi, only those that something is wrong with");
  tree.Flag("--resync", &options->bResync, "Behind damage, search on for the next chunk");
  tree.Flag("--fields", &options->bFields, "With the fields of headers and indexes, and what they mean");
  tree.OnRead([=, &command] { command = [=](const SHostOptions& host) { return RunTree(host, *options); }; });
}
