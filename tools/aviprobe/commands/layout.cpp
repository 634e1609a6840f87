#include "tools/aviprobe/model/layout.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <memory>

#include "tools/aviprobe/commands/command_options.h"
#include "tools/aviprobe/commands/commands.h"
#include "tools/aviprobe/host/isolation.h"
#include "tools/aviprobe/text/json_line.h"
#include "tools/aviprobe/text/shown.h"
#include "tools/aviprobe/text/times.h"

namespace {

struct SLayoutOptions {
  std::vector<std::string> files;
  uint32_t nBucketMs = 1000;
  bool bCsv = false;
  bool bSummary = false;
};

uint64_t Whole(double value) { return static_cast<uint64_t>(std::llround(std::clamp(value, 0.0, 1e15))); }

std::string Clock(double ms) { return ClockText(Whole(ms)); }

double BitRate(const SLayout& layout, const SBucketTrack& track) {
  return static_cast<double>(track.nBytes) * 8000 / layout.dBucketMs;
}

double BucketMs(const SLayout& layout, size_t bucket) { return static_cast<double>(bucket) * layout.dBucketMs; }

const char* KindName(const SFileMap& map, int16_t stream) {
  return map.streams[static_cast<size_t>(stream)].IsVideo() ? "video" : "audio";
}

class TextPrinter {
 public:
  static void Buckets(const SFileMap& map, const SLayout& layout) {
    fmt::print("{}\n", Shown(map.sPath));
    fmt::print("{:>12} {:>12} {:>10}", "time", "read up to", "apart");
    for (const int16_t stream : layout.streams) {
      fmt::print("  |{:>10} {:>12} {:>12}", fmt::format("{} bytes", stream), "kbit/s", "read to");
    }
    fmt::print("\n");
    for (size_t i = 0; i < layout.buckets.size(); ++i) {
      const SBucket& bucket = layout.buckets[i];
      fmt::print("{:>12} {:>12} {:>10}", Clock(BucketMs(layout, i)), bucket.nReadTo, bucket.nApart);
      for (const SBucketTrack& track : bucket.tracks) {
        fmt::print("  |{:>10} {:>12.1f} {:>12}", track.nBytes, BitRate(layout, track) / 1000, Clock(track.dReadMs));
      }
      fmt::print("\n");
    }
  }

  static void Summary(const SFileMap& map, const SLayout& layout) {
    fmt::print("{}: layout of", Shown(map.sPath));
    for (const int16_t stream : layout.streams) fmt::print(" track {} ({})", stream, KindName(map, stream));
    fmt::print("{}\n", layout.streams.empty() ? " nothing: no video or sound that has a time" : "");
    for (const int16_t stream : layout.timeless) {
      fmt::print("  track {} is left out: its header tells no time (rate or scale 0)\n", stream);
    }
    if (layout.buckets.empty()) return;
    if (layout.streams.size() > 1) {
      fmt::print("  largest distance in bytes: {}, at {}, offset {}\n", Whole(layout.apartBytes.dValue),
                 Clock(layout.apartBytes.dMs), layout.apartBytes.nOffset);
      const std::string where = fmt::format(", at {}, offset {}", Clock(layout.apartMs.dMs), layout.apartMs.nOffset);
      fmt::print("  largest distance in time: {} ms{}\n", Whole(layout.apartMs.dValue),
                 layout.apartMs.dValue > 0 ? where : "");
    }
    fmt::print("  to play without a stop, reading straight through and {} ms ahead:\n", Whole(layout.dBucketMs));
    fmt::print("    to read before the start: {} bytes\n", layout.nPrerollBytes);
    fmt::print("    read rate: {} bytes/s, at {}\n", Whole(layout.dReadRate), Clock(layout.dReadRateMs));
    fmt::print("    buffer: {} bytes, at {}\n", layout.nBufferBytes, Clock(layout.dBufferMs));
  }
};

class CsvPrinter {
 public:
  static void Buckets(const SFileMap& map, const SLayout& layout) {
    for (size_t i = 0; i < layout.buckets.size(); ++i) {
      const SBucket& bucket = layout.buckets[i];
      for (size_t slot = 0; slot < layout.streams.size(); ++slot) {
        const SBucketTrack& track = bucket.tracks[slot];
        fmt::print("{},{},{},{},{},{},{},{},{},{}\n", Field(map.sPath), Whole(BucketMs(layout, i)), bucket.nReadTo,
                   bucket.nReadBytes, bucket.nApart, bucket.nHeldBytes, layout.streams[slot], track.nBytes,
                   Whole(BitRate(layout, track)), Whole(track.dReadMs));
      }
    }
  }
  static void Heading() {
    fmt::print("file,time_ms,read_to,read_bytes,apart_bytes,held_bytes,track,bytes,bit_rate,read_ms\n");
  }

 private:
  static std::string Field(const std::string& path) {
    std::string field = "\"";
    for (const char c : Shown(path)) field += c == '"' ? "\"\"" : std::string(1, c);
    return field + '"';
  }
};

class JsonPrinter {
 public:
  static void Buckets(const SLayout& layout) {
    for (size_t i = 0; i < layout.buckets.size(); ++i) {
      const SBucket& bucket = layout.buckets[i];
      Json tracks = Json::array();
      for (size_t slot = 0; slot < layout.streams.size(); ++slot) {
        const SBucketTrack& track = bucket.tracks[slot];
        tracks.push_back({{"track", layout.streams[slot]},
                          {"chunks", track.nChunks},
                          {"bytes", track.nBytes},
                          {"bit_rate", Whole(BitRate(layout, track))},
                          {"read_ms", Whole(track.dReadMs)}});
      }
      PrintJsonLine({{"record", "bucket"},
                     {"time_ms", Whole(BucketMs(layout, i))},
                     {"read_to", bucket.nReadTo},
                     {"read_bytes", bucket.nReadBytes},
                     {"apart_bytes", bucket.nApart},
                     {"held_bytes", bucket.nHeldBytes},
                     {"tracks", tracks}});
    }
  }

  static void Summary(const SFileMap& map, const SLayout& layout) {
    PrintJsonLine({{"record", "layout"},
                   {"file", map.sPath},
                   {"bucket_ms", Whole(layout.dBucketMs)},
                   {"buckets", layout.buckets.size()},
                   {"tracks", layout.streams},
                   {"timeless_tracks", layout.timeless},
                   {"apart_bytes", Peak(layout, layout.apartBytes)},
                   {"apart_ms", Peak(layout, layout.apartMs)},
                   {"preroll_bytes", layout.nPrerollBytes},
                   {"read_rate", Whole(layout.dReadRate)},
                   {"read_rate_at_ms", Whole(layout.dReadRateMs)},
                   {"buffer_bytes", layout.nBufferBytes},
                   {"buffer_at_ms", Whole(layout.dBufferMs)}});
  }

 private:
  static Json Peak(const SLayout& layout, const SLayoutPeak& peak) {
    if (layout.streams.size() < 2) return {};
    return {{"value", Whole(peak.dValue)}, {"at_ms", Whole(peak.dMs)}, {"offset", peak.nOffset}};
  }
};

int LayOutFile(const std::string& path, const SHostOptions& host, const SLayoutOptions& options) {
  FileSource source(path, false);
  SMapOptions wanted;
  wanted.bEntries = false;
  const SFileMap map = MapFile(source, path, wanted);
  if (!map.IsAvi()) throw HostError(path + ": not an AVI file");
  const std::optional<SLayout> layout = LayOut(map, options.nBucketMs);
  if (!layout) throw HostError(fmt::format("{}: more than {} buckets: ask for longer ones", path, kMostBuckets));
  if (host.bJson) {
    JsonPrinter::Summary(map, *layout);
    if (!options.bSummary) JsonPrinter::Buckets(*layout);
  } else if (options.bCsv) {
    CsvPrinter::Buckets(map, *layout);
  } else {
    if (!options.bSummary && !layout->buckets.empty()) TextPrinter::Buckets(map, *layout);
    TextPrinter::Summary(map, *layout);
  }
  return kExitFine;
}

int RunLayout(const SHostOptions& host, const SLayoutOptions& options) {
  if (options.bCsv && !host.bJson) {
    CsvPrinter::Heading();
    std::fflush(stdout);  // the files are other processes' work
  }
  return WorstExit(ForEachFile(host, {}, options.files, [&](const std::string& path, Progress& progress) {
    progress.Stage("reading the chunks");
    return LayOutFile(path, host, options);
  }));
}

}  // namespace

void AddLayout(CLI::App& app, Command& command) {
  auto options = std::make_shared<SLayoutOptions>();
  CommandOptions layout(app, "layout", "Show how the tracks lie beside each other, and what reading them takes");
  layout.Files(&options->files);
  layout.Time("--bucket", &options->nBucketMs, "Length of the stretches of the movie's time, 1s unless given");
  CommandOption csv = layout.Flag("--csv", &options->bCsv, "Print comma-separated values, a row per stretch and track");
  layout.Flag("--summary", &options->bSummary, "Only what is said of the whole file").Excludes(csv);
  layout.OnRead([=, &command] {
    if (options->nBucketMs == 0) RefuseUsage("--bucket: takes a time above 0: 1s, 500ms, 1m");
    command = [=](const SHostOptions& host) { return RunLayout(host, *options); };
  });
}
