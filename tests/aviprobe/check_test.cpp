#include <gtest/gtest.h>
#include <stdlib.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <regex>
#include <set>
#include <sstream>

#include "tests/aviprobe/run_tool.h"
#include "tests/support/avi_builder.h"
#include "tools/aviprobe/model/check_facts.h"
#include "tools/aviprobe/model/finding.h"
#include "tools/aviprobe/model/key_unit.h"
#include "tools/aviprobe/model/track_facts.h"

// Breaks good files, each in one way, and demands that the check names what was done and where.

namespace {

constexpr size_t kFrames = 100;
constexpr size_t kSecondBytes = 16000;  // of sound
constexpr size_t kFrameSound = kSecondBytes / 25;

/// A folder of its own, gone with the object.
class TempFolder {
 public:
  TempFolder() {
    std::string name = (std::filesystem::temp_directory_path() / "check-XXXXXX").string();
    if (!mkdtemp(name.data())) throw std::runtime_error("no temporary folder");
    m_Path = name;
  }
  ~TempFolder() { std::filesystem::remove_all(m_Path); }
  TempFolder(const TempFolder&) = delete;
  TempFolder& operator=(const TempFolder&) = delete;

  std::string Write(const std::string& name, const Bytes& bytes) const {
    std::ofstream out(m_Path / name, std::ios::binary);
    out.write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
    return (m_Path / name).string();
  }
  std::string Path(const std::string& name) const { return (m_Path / name).string(); }

 private:
  std::filesystem::path m_Path;
};

/// A picture of MPEG-4 Visual as far as its coding type.
Bytes Picture(bool key, size_t bytes = 300) {
  Bytes picture = {0, 0, 1, 0xB6, static_cast<uint8_t>(key ? 0x10 : 0x50)};
  picture.resize(bytes, 0x55);
  return picture;
}
Bytes Sound(size_t bytes = kFrameSound) { return Bytes(bytes, 0x11); }

const AudioFormat kSound = {.channels = 1, .rate = 8000, .bytesPerSecond = kSecondBytes, .blockAlign = 2};

/// Headers of 25 pictures a second and of sound, for so many pictures of which each has its sound.
struct SHeaders {
  uint32_t frames = kFrames;
  std::optional<uint32_t> streams = {};
  std::string fourcc = "XVID";
  uint32_t rate = 25;
  std::optional<uint32_t> stated = {};  ///< length of the video
  std::optional<uint32_t> soundBytes = {};
  uint32_t bufferSize = 0;
};
AviBuilder Headers(const SHeaders& headers = {}) {
  const auto length = headers.stated.value_or(headers.frames);
  const auto bytes = headers.soundBytes.value_or(headers.frames * static_cast<uint32_t>(kFrameSound));
  AviBuilder builder;
  builder.Main({.totalFrames = length, .streams = headers.streams, .width = 320, .height = 240});
  builder.Video({.fourcc = headers.fourcc},
                {.scale = 1, .rate = headers.rate, .length = length, .bufferSize = headers.bufferSize});
  builder.Audio(kSound, StreamHeader{.scale = 2, .rate = kSecondBytes, .length = bytes / 2, .sampleSize = 2});
  return builder;
}

/// Pictures `from` to `to`, every 25th a key frame, each with its sound.
void Play(AviBuilder* builder, size_t from, size_t to) {
  for (size_t i = from; i < to; ++i) {
    builder->Chunk(0, Picture(i % 25 == 0), i % 25 == 0);
    builder->Chunk(1, Sound());
  }
}
AviFile Good() {
  AviBuilder builder = Headers();
  Play(&builder, 0, kFrames);
  return builder.OldIndex().Build();
}
int64_t IndexEntry(const AviFile& file, size_t entry) {
  return static_cast<int64_t>(file.Find("idx1") + 8 + entry * 16);
}

struct SBroken {
  Bytes bytes;
  std::optional<int64_t> nOffset;  ///< where the finding has to be
};
SBroken Put(size_t at, const Data& data, std::optional<int64_t> offset) {
  AviFile file = Good();
  file.Put(at, data);
  return {file.bytes, offset};
}

Bytes SampleBytes(const std::string& name) {
  std::ifstream in(std::string(ZU_SAMPLES_DIR) + "/" + name, std::ios::binary);
  return Bytes(std::istreambuf_iterator<char>(in), {});
}
struct SRow {
  std::string name;
  std::function<SBroken()> make;
  std::string code;
  std::set<std::string> also = {};  ///< what follows from it
};
void PrintTo(const SRow& row, std::ostream* out) { *out << row.name; }

SBroken Truncated() {
  const AviFile file = Good();
  return {Head(file.bytes, file.chunks[100] + 20), 0};
}

SBroken GarbageInMovi() {
  AviBuilder builder = Headers();
  Play(&builder, 0, 50);
  builder.InMovi(Bytes(64, 0xFF));
  Play(&builder, 50, kFrames);
  const AviFile file = builder.OldIndex().Build();
  return {file.bytes, static_cast<int64_t>(file.chunks[100]) - 64};
}

SBroken BehindMovi(const Bytes& raw) {
  AviBuilder builder = Headers();
  Play(&builder, 0, kFrames);
  const AviFile file = builder.OldIndex().AfterMovi(raw).Build();
  return {file.bytes, static_cast<int64_t>(file.Find("idx1") - raw.size())};
}

SBroken OverrunAtEnd() {
  AviBuilder builder = Headers();
  Play(&builder, 0, kFrames);
  AviFile file = builder.AfterMovi(Chunk("JUNK", Bytes(10), 5000)).Build();
  return {file.bytes, static_cast<int64_t>(file.Find("JUNK"))};
}

SBroken WithHeaders(const SHeaders& headers, const std::string& at) {
  AviBuilder builder = Headers(headers);
  Play(&builder, 0, kFrames);
  const AviFile file = builder.OldIndex().Build();
  return {file.bytes, static_cast<int64_t>(file.Find(at))};
}

SBroken NoIndex() {
  AviBuilder builder = Headers();
  Play(&builder, 0, kFrames);
  return {builder.Build().bytes, std::nullopt};
}

/// The last 40 pictures are in the file only.
SBroken ShortIndex() {
  AviBuilder builder = Headers();
  Play(&builder, 0, 60);
  for (size_t i = 60; i < kFrames; ++i) {
    builder.RawChunk("00dc", Picture(i % 25 == 0));
    builder.Chunk(1, Sound());
  }
  const AviFile file = builder.OldIndex().Build();
  return {file.bytes, static_cast<int64_t>(file.chunks[120])};
}

/// Of the sound the first half second is in the index.
Bytes SoundMostlyNotIndexed() {
  AviBuilder builder = Headers();
  for (size_t i = 0; i < kFrames; ++i) {
    builder.Chunk(0, Picture(i % 25 == 0), i % 25 == 0);
    i < 12 ? builder.Chunk(1, Sound()) : builder.RawChunk("01wb", Sound());
  }
  return builder.OldIndex().Build().bytes;
}

SBroken EmptyIndex() {
  AviBuilder builder = Headers();
  for (size_t i = 0; i < kFrames; ++i) {
    builder.RawChunk("00dc", Picture(i % 25 == 0));
    builder.RawChunk("01wb", Sound());
  }
  const AviFile file = builder.OldIndex().Build();
  return {file.bytes, static_cast<int64_t>(file.Find("idx1"))};
}

/// Writes over a part of an entry.
SBroken Entry(size_t entry, size_t field, const Data& data) {
  AviFile file = Good();
  const int64_t at = IndexEntry(file, entry);
  file.Put(static_cast<size_t>(at) + field, data);
  return {file.bytes, at};
}

SBroken SwappedEntries() {
  AviFile file = Good();
  const auto at = static_cast<ptrdiff_t>(IndexEntry(file, 10));
  std::swap_ranges(file.bytes.begin() + at, file.bytes.begin() + at + 16, file.bytes.begin() + at + 32);
  return {file.bytes, at + 32};
}

AviFile OpenDml() {
  AviBuilder builder = Headers();
  Play(&builder, 0, kFrames);
  return builder.ChunkIndex(0).ChunkIndex(1).Build();
}
SBroken BrokenSuperIndex() {
  AviFile file = OpenDml();
  const size_t slot = file.Find("indx") + 8 + 24;
  file.Put(slot, Le64(123));
  return {file.bytes, static_cast<int64_t>(slot)};
}

SBroken Keys(size_t frames, const std::function<bool(size_t)>& flagged, const std::function<bool(size_t)>& coded) {
  AviBuilder builder = Headers({.frames = static_cast<uint32_t>(frames)});
  for (size_t i = 0; i < frames; ++i) {
    builder.Chunk(0, Picture(coded(i)), flagged(i));
    builder.Chunk(1, Sound());
  }
  const AviFile file = builder.OldIndex().Build();
  return {file.bytes, IndexEntry(file, 0)};
}
SBroken FarKeys() {
  SBroken broken = Keys(
      400, [](size_t i) { return i == 0; }, [](size_t i) { return i == 0; });
  AviFile file;
  file.bytes = broken.bytes;
  return {broken.bytes, static_cast<int64_t>(file.Find("00dc"))};
}

/// Empty pictures where `empty` says so.
SBroken EmptyPictures(const std::function<bool(size_t)>& empty, size_t chunk) {
  AviBuilder builder = Headers();
  for (size_t i = 0; i < kFrames; ++i) {
    builder.Chunk(0, empty(i) ? Bytes() : Picture(i % 25 == 0), i % 25 == 0);
    builder.Chunk(1, Sound());
  }
  const AviFile file = builder.OldIndex().Build();
  return {file.bytes, static_cast<int64_t>(file.chunks[chunk])};
}

SBroken RefusedWithEmptyPictures() {
  AviFile file;
  file.bytes = EmptyPictures([](size_t i) { return i % 4 == 3; }, 6).bytes;
  file.Put(file.Find("avih") + 8 + 24, Le32(3));
  return {file.bytes, 0};
}

/// Each picture with so much sound; `last` is the chunk at which the finding stands, or the sound's header.
SBroken SoundOf(const std::function<size_t(size_t)>& bytesOf, std::optional<size_t> chunk) {
  size_t bytes = 0;
  for (size_t i = 0; i < kFrames; ++i) bytes += bytesOf(i);
  AviBuilder builder = Headers({.soundBytes = static_cast<uint32_t>(bytes)});
  for (size_t i = 0; i < kFrames; ++i) {
    builder.Chunk(0, Picture(i % 25 == 0), i % 25 == 0);
    if (bytesOf(i) > 0) builder.Chunk(1, Sound(bytesOf(i)));
  }
  const AviFile file = builder.OldIndex().Build();
  return {file.bytes, static_cast<int64_t>(chunk ? file.chunks[*chunk] : file.Find("strh", 1))};
}

SBroken ShortPicture() {
  AviBuilder builder = Headers({.stated = 50});
  Play(&builder, 0, 50);
  for (size_t i = 50; i < kFrames; ++i) builder.Chunk(1, Sound());
  const AviFile file = builder.OldIndex().Build();
  return {file.bytes, static_cast<int64_t>(file.chunks[98])};
}

SBroken SoundBehindPicture() {
  AviBuilder builder = Headers();
  for (size_t i = 0; i < kFrames; ++i) builder.Chunk(0, Picture(i % 25 == 0), i % 25 == 0);
  for (size_t i = 0; i < kFrames; ++i) builder.Chunk(1, Sound());
  const AviFile file = builder.OldIndex().Build();
  return {file.bytes, static_cast<int64_t>(file.chunks[kFrames])};
}

SBroken LargePicture() {
  AviBuilder builder = Headers({.frames = 101});
  Play(&builder, 0, kFrames);
  builder.Chunk(0, Picture(true, 5u << 20)).Chunk(1, Sound());
  const AviFile file = builder.OldIndex().Build();
  return {file.bytes, static_cast<int64_t>(file.chunks[200])};
}

SBroken Orphan() {
  AviBuilder builder = Headers();
  Play(&builder, 0, kFrames);
  const AviFile file = builder.RawChunk("07dc", Picture(true)).OldIndex().Build();
  return {file.bytes, static_cast<int64_t>(file.chunks[200])};
}

SBroken NoPad() {
  AviBuilder builder = Headers({.frames = 101});
  Play(&builder, 0, 50);
  builder.InMovi(Join({"00dc", Le32(301), Picture(false, 301)})).RawChunk("01wb", Sound());
  Play(&builder, 50, kFrames);
  const AviFile file = builder.Build();
  return {file.bytes, static_cast<int64_t>(file.chunks[100]) - 309};
}

/// More empty chunks in a row than the library reads on over without an index, and than a player is patient for with
/// one.
SBroken ManyEmpty(bool indexed) {
  AviBuilder builder = Headers({.frames = 1300});
  Play(&builder, 0, 50);
  for (size_t i = 50; i < 1250; ++i) builder.Chunk(0, Bytes(), false).Chunk(1, Sound());
  Play(&builder, 1250, 1300);
  if (indexed) builder.OldIndex();
  return {builder.Build().bytes, std::nullopt};
}

/// No entry but the first, by which the library finds what all count from, points to where a chunk is.
SBroken ShiftedIndex() {
  AviFile file = Good();
  const int64_t first = static_cast<int64_t>(file.chunks[1]) + 8 + 3;
  for (size_t i = 1; i < 2 * kFrames; ++i) file.bytes[static_cast<size_t>(IndexEntry(file, i)) + 8] += 3;
  return {file.bytes, first};
}

SBroken AllEntriesShifted() {
  AviFile file = Good();
  for (size_t i = 0; i < 2 * kFrames; ++i) file.bytes[static_cast<size_t>(IndexEntry(file, i)) + 8] += 3;
  return {file.bytes, IndexEntry(file, 0)};
}

/// The library finds by the first entry what all count from.
SBroken FirstEntryShifted() {
  AviFile file = Good();
  file.bytes[static_cast<size_t>(IndexEntry(file, 0)) + 8] += 3;
  return {file.bytes, static_cast<int64_t>(file.chunks[1]) + 8 - 3};
}

SBroken Joined() {
  const Bytes good = Good().bytes;
  return {Join({good, good}), static_cast<int64_t>(good.size())};
}

SBroken JoinedWithoutIndex() {
  const Bytes first = NoIndex().bytes;
  return {Join({first, Good().bytes}), static_cast<int64_t>(first.size())};
}

/// Without the pictures 40 to 69.
SBroken PicturesMissing() {
  AviBuilder builder = Headers({.stated = kFrames - 30});
  for (size_t i = 0; i < kFrames; ++i) {
    if (i < 40 || i >= 70) builder.Chunk(0, Picture(i % 25 == 0), i % 25 == 0);
    builder.Chunk(1, Sound());
  }
  const AviFile file = builder.OldIndex().Build();
  return {file.bytes, static_cast<int64_t>(file.chunks[110])};
}

/// No list has data, and another one, among the headers, has no type.
SBroken NoDataList() {
  AviBuilder builder = Headers();
  Play(&builder, 0, kFrames);
  AviFile file = builder.InHeader(Chunk("LIST", "ab")).Build();
  file.Put(file.Find("movi") - 8, "JUNK");
  return {file.bytes, std::nullopt};
}

/// A note in front of an error.
SBroken NoteAndError() {
  AviFile file;
  file.bytes = WithHeaders({.bufferSize = 250}, "strh").bytes;
  const size_t at = Good().chunks[40];
  file.Put(at + 4, Le32(0x40000000 + 300));
  return {file.bytes, static_cast<int64_t>(at)};
}

/// Writes over a part of the nth header of a kind.
SBroken InHeader(const std::string& id, size_t nth, size_t field, const Data& data) {
  const size_t at = Good().Find(id, nth);
  return Put(at + 8 + field, data, static_cast<int64_t>(at));
}

SBroken SecondPicture() {
  AviBuilder builder = Headers();
  builder.Video({}, {.scale = 1, .rate = 25, .length = kFrames});
  for (size_t i = 0; i < kFrames; ++i) {
    builder.Chunk(0, Picture(i % 25 == 0), i % 25 == 0);
    builder.Chunk(1, Sound());
    builder.Chunk(2, Picture(i % 25 == 0), i % 25 == 0);
  }
  const AviFile file = builder.OldIndex().Build();
  return {file.bytes, static_cast<int64_t>(file.Find("strh", 2))};
}

const SRow kRows[] = {
    {.name = "NotAnAvi",
     .make =
         [] {
           return SBroken{Bytes(5000, 'x'), 0};
         },
     .code = "not-an-avi"},
    {.name = "EndCutOff",
     .make = Truncated,
     .code = "riff-truncated",
     .also = {"header-length-differs", "index-missing"}},
    {.name = "RiffSizeZero",
     .make = [] { return Put(4, Le32(0), 0); },
     .code = "size-zero",
     .also = {"library-refuses"}},
    {.name = "BytesBehindTheEnd",
     .make =
         [] {
           const Bytes good = Good().bytes;
           return SBroken{Join({good, Bytes(100)}), static_cast<int64_t>(good.size())};
         },
     .code = "trailing-data"},
    {.name = "TwoFilesJoined", .make = Joined, .code = "trailing-data"},
    {.name = "TwoFilesJoinedWithoutIndex",
     .make = JoinedWithoutIndex,
     .code = "trailing-data",
     .also = {"index-missing"}},
    {.name = "BytesBetweenChunks", .make = GarbageInMovi, .code = "garbage"},
    {.name = "ChunkBeyondItsList", .make = OverrunAtEnd, .code = "chunk-overrun", .also = {"index-missing"}},
    {.name = "ListWithoutType", .make = [] { return BehindMovi(Chunk("LIST", "ab")); }, .code = "list-broken"},
    {.name = "NoPadByte", .make = NoPad, .code = "no-pad", .also = {"index-missing", "delivered-less-than-present"}},
    {.name = "UnknownName", .make = [] { return BehindMovi(Chunk("ABCD", "1234")); }, .code = "unknown-chunk-id"},
    {.name = "SizeOfAPictureDamaged",
     .make =
         [] {
           const size_t at = Good().chunks[40];
           return Put(at + 4, Le32(0x40000000 + 300), static_cast<int64_t>(at));
         },
     .code = "sync-lost"},
    {.name = "NoMainHeader",
     .make = [] { return Put(Good().Find("avih"), "JUNK", 0); },
     .code = "header-missing",
     .also = {"library-refuses"}},
    {.name = "OneStreamTooManyAnnounced",
     .make = [] { return WithHeaders({.streams = 3}, "avih"); },
     .code = "stream-count",
     .also = {"library-refuses"}},
    {.name = "LibraryRefuses",
     .make =
         [] {
           return SBroken{WithHeaders({.streams = 3}, "avih").bytes, 0};
         },
     .code = "library-refuses",
     .also = {"stream-count"}},
    {.name = "LibraryRefusesWhatHasEmptyPictures",
     .make = RefusedWithEmptyPictures,
     .code = "library-refuses",
     .also = {"stream-count", "empty-chunks"}},
    {.name = "DataOfNoStream", .make = Orphan, .code = "orphan-chunks"},
    {.name = "LengthTooLong",
     .make = [] { return WithHeaders({.stated = 1000}, "strh"); },
     .code = "header-length-differs"},
    {.name = "RateZero", .make = [] { return WithHeaders({.rate = 0}, "strh"); }, .code = "rate-zero"},
    {.name = "RateTooHigh",
     .make = [] { return WithHeaders({.rate = 250000}, "strh"); },
     .code = "rate-implausible",
     .also = {"audio-drift", "interleave-far"}},
    {.name = "CodecUnknown", .make = [] { return WithHeaders({.fourcc = "ZZZZ"}, "strf"); }, .code = "codec-unknown"},
    {.name = "NoIndex", .make = NoIndex, .code = "index-missing"},
    {.name = "IndexEndsEarly", .make = ShortIndex, .code = "index-short", .also = {"delivered-less-than-present"}},
    {.name = "IndexEmpty", .make = EmptyIndex, .code = "index-zero"},
    {.name = "EntryOfZeros",
     .make = [] { return Entry(20, 0, Bytes(16)); },
     .code = "index-zero",
     .also = {"index-short", "delivered-less-than-present"}},
    {.name = "EntryBeyondTheEnd",
     .make = [] { return Entry(20, 8, Le32(0x7FFFFFFF)); },
     .code = "index-past-end",
     .also = {"index-short", "delivered-less-than-present"}},
    {.name = "EntryWithAnotherSize", .make = [] { return Entry(20, 12, Le32(250)); }, .code = "index-mismatch"},
    {.name = "EntryOfTheOtherTrack",
     .make = [] { return Entry(20, 0, "01wb"); },
     .code = "index-mismatch",
     .also = {"delivered-less-than-present"}},
    {.name = "EntriesOutOfOrder", .make = SwappedEntries, .code = "index-mismatch"},
    {.name = "KeyFlagOnAnother", .make = [] { return Entry(20, 4, Le32(0x10)); }, .code = "index-mismatch"},
    {.name = "SoundOfUnknownType", .make = [] { return InHeader("strh", 1, 0, "zzzz"); }, .code = "stream-not-played"},
    {.name = "NoTypeKnown",
     .make =
         [] {
           AviFile file = Good();
           file.Put(file.Find("auds"), "zzzz").Put(file.Find("vids"), "zzzz");
           return SBroken{file.bytes, 0};
         },
     .code = "no-track",
     .also = {"stream-not-played"}},
    {.name = "SecondPicture", .make = SecondPicture, .code = "second-picture"},
    {.name = "UnknownTagPlayedAsPcm",
     .make = [] { return InHeader("strf", 1, 0, Le16(0x1234)); },
     .code = "codec-unknown"},
    {.name = "NoChannels", .make = [] { return InHeader("strf", 1, 2, Le16(0)); }, .code = "codec-unknown"},
    {.name = "BlocksOfAnotherSize",
     .make = [] { return InHeader("strf", 1, 14, Le16(8)); },
     .code = "format-contradicts"},
    {.name = "SamplesOfAnotherRate",
     .make =
         [] {
           SBroken broken = InHeader("strf", 1, 4, Le32(16000));
           AviFile file;
           file.bytes = broken.bytes;
           return SBroken{file.Put(file.Find("strf", 1) + 16, Le32(32000)).bytes, broken.nOffset};
         },
     .code = "format-contradicts",
     .also = {"audio-drift", "audio-clock", "interleave-far"}},
    {.name = "LinesFromTheTop",
     .make = [] { return InHeader("strf", 0, 8, Le32(0xFFFFFF88)); },
     .code = "height-top-down"},
    {.name = "EntriesBesideTheirChunks",
     .make = ShiftedIndex,
     .code = "delivered-garbage",
     .also = {"index-mismatch", "index-short"}},
    {.name = "AllEntriesBesideTheirChunks", .make = AllEntriesShifted, .code = "index-mismatch"},
    {.name = "FirstEntryBesideItsChunk",
     .make = FirstEntryShifted,
     .code = "delivered-garbage",
     .also = {"index-mismatch", "index-short"}},
    {.name = "SuperIndexPointsElsewhere", .make = BrokenSuperIndex, .code = "odml-broken"},
    {.name = "NoKeyFlags",
     .make =
         [] {
           return Keys(
               kFrames, [](size_t) { return false; }, [](size_t i) { return i % 25 == 0; });
         },
     .code = "keyflags-none"},
    {.name = "AllKeyFlags",
     .make =
         [] {
           return Keys(
               kFrames, [](size_t) { return true; }, [](size_t i) { return i % 25 == 0; });
         },
     .code = "keyflags-all"},
    {.name = "KeyFramesFarApart", .make = FarKeys, .code = "keyframe-gap"},
    {.name = "EveryFourthEmpty",
     .make = [] { return EmptyPictures([](size_t i) { return i % 4 == 3; }, 6); },
     .code = "empty-chunks"},
    {.name = "PictureStandsStill",
     .make = [] { return EmptyPictures([](size_t i) { return i >= 26 && i < 66; }, 52); },
     .code = "empty-chunks",
     .also = {"gap"}},
    {.name = "SoundOfAnotherSpeed",
     .make = [] { return SoundOf([](size_t) { return kFrameSound - 100; }, {}); },
     .code = "audio-drift"},
    {.name = "SoundMissingInTheMiddle",
     .make = [] { return SoundOf([](size_t i) { return i < 40 || i >= 70 ? kFrameSound : 0; }, 111); },
     .code = "gap"},
    {.name = "PicturesMissingInTheMiddle", .make = PicturesMissing, .code = "gap"},
    {.name = "SoundEndsEarly",
     .make = [] { return SoundOf([](size_t i) { return i < 50 ? kFrameSound : 0; }, 99); },
     .code = "audio-short"},
    {.name = "PictureEndsEarly", .make = ShortPicture, .code = "video-short"},
    {.name = "SoundBehindAllPictures", .make = SoundBehindPicture, .code = "interleave-far"},
    {.name = "PictureAboveTheBuffer", .make = LargePicture, .code = "chunk-over-buffer"},
    {.name = "PicturesAboveWhatTheHeaderSuggests",
     .make =
         [] {
           return SBroken{WithHeaders({.bufferSize = 250}, "strh").bytes, static_cast<int64_t>(Good().chunks[0])};
         },
     .code = "buffer-size-small"},
    {.name = "ThousandEmptyPictures",
     .make = [] { return ManyEmpty(true); },
     .code = "gap",
     .also = {"empty-chunks", "keyframe-gap"}},
    {.name = "ThousandEmptyPicturesWithoutIndex",
     .make = [] { return ManyEmpty(false); },
     .code = "delivered-less-than-present",
     .also = {"empty-chunks", "index-missing"}},
};

std::string Text(const std::vector<SFinding>& findings) {
  std::string text;
  for (const SFinding& finding : findings) text += JsonText(FindingFacts(finding)) + "\n";
  return text;
}

std::vector<SFinding> CheckFile(const std::string& path, const Host& host) {
  FileSource source(path, false);
  const SFileMap map = MapFile(source, path);
  if (!map.IsAvi()) return Check(map, nullptr, source);
  const SPlayback playback = Play(host, path);
  return Check(map, &playback, source);
}
SHostOptions OwnLibrary() {
  SHostOptions options;
  options.sLibrary = ZU_LIBRARY_PATH;
  return options;
}
std::vector<SFinding> CheckFile(const std::string& path) {
  static const Host host(OwnLibrary());
  return CheckFile(path, host);
}

class BrokenFile : public testing::TestWithParam<SRow> {};

TEST_P(BrokenFile, IsNamedWhereItIsBroken) {
  const TempFolder folder;
  const SBroken broken = GetParam().make();
  const std::vector<SFinding> findings = CheckFile(folder.Write("broken.avi", broken.bytes));
  const bool named = std::any_of(findings.begin(), findings.end(), [&](const SFinding& finding) {
    return finding.pCode == GetParam().code && (!broken.nOffset || finding.nOffset == broken.nOffset);
  });
  EXPECT_TRUE(named) << "wanted at " << broken.nOffset.value_or(-1) << " of:\n" << Text(findings);
}

TEST_P(BrokenFile, HasNoOtherFault) {
  const TempFolder folder;
  std::set<std::string> expected = GetParam().also, found;
  expected.insert(GetParam().code);
  const std::vector<SFinding> findings = CheckFile(folder.Write("broken.avi", GetParam().make().bytes));
  for (const SFinding& finding : findings) found.insert(finding.pCode);
  EXPECT_EQ(found, expected) << Text(findings);
}

/// The commands that advice names, "aviprobe" left out.
std::vector<std::string> CommandsIn(const std::string& advice) {
  static const std::regex kCommand("aviprobe ((remux \\S+( --ignore-index)? -o OUT.avi)|([a-z]+ (--[a-z]+ )?\\S+))");
  std::vector<std::string> commands;
  for (std::sregex_iterator at(advice.begin(), advice.end(), kCommand), end; at != end; ++at)
    commands.push_back((*at)[1]);
  return commands;
}

TEST_P(BrokenFile, AdvisesCommandsThatWork) {
  const TempFolder folder;
  const std::string path = folder.Write("broken.avi", GetParam().make().bytes);
  std::set<std::string> commands;
  for (const SFinding& finding : CheckFile(path)) {
    for (const std::string& command : CommandsIn(finding.sAdvice)) commands.insert(command);
  }
  for (std::string command : commands) {
    EXPECT_NE(command.find(path), std::string::npos) << command;
    if (const size_t out = command.find("OUT.avi"); out != std::string::npos) {
      command.replace(out, 7, folder.Path(std::to_string(command.size()) + ".avi"));
    }
    const SRun run = RunTool(command);
    const bool noAvi = command.starts_with("tree");  // shows other files, too
    const bool absent = run.sOutput.find("not built in") != std::string::npos;
    EXPECT_TRUE(absent || run.nExit <= 1 || (noAvi && run.nExit == 3)) << run.nExit << ": " << command << "\n"
                                                                       << run.sOutput;
  }
}

INSTANTIATE_TEST_SUITE_P(Check, BrokenFile, testing::ValuesIn(kRows), [](const auto& row) { return row.param.name; });

struct SNameRow {
  std::string name;
  std::string path;
  std::string shown;
};
void PrintTo(const SNameRow& row, std::ostream* out) { *out << row.name; }

class AdviceName : public testing::TestWithParam<SNameRow> {};

TEST_P(AdviceName, IsAsAShellTakesIt) {
  EXPECT_EQ(NameFile("remux FILE -o OUT.avi", GetParam().path), "remux " + GetParam().shown + " -o OUT.avi");
}

const SNameRow kNames[] = {
    {.name = "Plain", .path = "films/a.avi", .shown = "films/a.avi"},
    {.name = "Space", .path = "my film.avi", .shown = "'my film.avi'"},
    {.name = "Quote", .path = "it's.avi", .shown = "'it'\\''s.avi'"},
    {.name = "LikeAnOption", .path = "--json", .shown = "./--json"},
    {.name = "ControlCharacter", .path = "a\x1b.avi", .shown = "FILE"},
};
INSTANTIATE_TEST_SUITE_P(Check, AdviceName, testing::ValuesIn(kNames), [](const auto& row) { return row.param.name; });

TEST(Check, EveryKindHasARow) {
  std::set<std::string> unseen;
  for (const SFindingKind& kind : FindingKinds()) unseen.insert(kind.pCode);
  for (const SRow& row : kRows) {
    unseen.erase(row.code);
    for (const std::string& code : row.also) unseen.erase(code);
  }
  // No file of the table makes these: see AbortLeavesTheOthers, CheckSays and ReadErrorEndsATrack.
  EXPECT_EQ(unseen, (std::set<std::string>{"library-aborts", "track-failed", "unreadable"}));
}

TEST(Check, ReadErrorEndsATrack) {
  const TempFolder folder;
  SHostOptions options = OwnLibrary();
  options.failure = {.nRead = 100, .nStatus = AVI_IO_ERROR};
  const std::vector<SFinding> findings = CheckFile(folder.Write("good.avi", Good().bytes), Host(options));
  ASSERT_FALSE(findings.empty());
  EXPECT_STREQ(findings[0].pCode, "track-failed") << Text(findings);
  EXPECT_EQ(findings[0].nTrack, 0) << Text(findings);
  EXPECT_NE(findings[0].sConsequence.find("-1004"), std::string::npos) << Text(findings);
}

TEST(Check, EqualFaultsAreOneFinding) {
  const TempFolder folder;
  AviFile file = Good();
  const int64_t first = IndexEntry(file, 0), last = IndexEntry(file, 198);
  for (size_t i = 0; i < 200; i += 2) file.Put(static_cast<size_t>(IndexEntry(file, i)) + 12, Le32(250));
  const std::vector<SFinding> findings = CheckFile(folder.Write("sizes.avi", file.bytes));
  ASSERT_EQ(findings.size(), 1u) << Text(findings);
  EXPECT_EQ(findings[0].nCount, 100u);
  EXPECT_EQ(findings[0].nOffset, first);
  EXPECT_EQ(findings[0].nLastOffset, last);
}

TEST(Check, TellsWhenAndWhatAViewerMeets) {
  const TempFolder folder;
  const std::vector<SFinding> findings = CheckFile(folder.Write("short.avi", ShortIndex().bytes));
  ASSERT_FALSE(findings.empty());
  EXPECT_EQ(findings[0].nTimeMs, 2400u) << Text(findings);
  EXPECT_NE(findings[0].sConsequence.find("stops at 00:00:02.400 of 00:00:04.000"), std::string::npos)
      << Text(findings);
}

struct STimeRow {
  std::string name;
  std::function<SBroken()> make;
  std::string code;
  std::optional<uint32_t> ms;
};
void PrintTo(const STimeRow& row, std::ostream* out) { *out << row.name; }

class FindingTime : public testing::TestWithParam<STimeRow> {};

TEST_P(FindingTime, IsWhenItMatters) {
  const TempFolder folder;
  const std::vector<SFinding> findings = CheckFile(folder.Write("broken.avi", GetParam().make().bytes));
  const auto found = std::find_if(findings.begin(), findings.end(),
                                  [](const SFinding& finding) { return finding.pCode == GetParam().code; });
  ASSERT_NE(found, findings.end()) << Text(findings);
  EXPECT_EQ(found->nTimeMs, GetParam().ms) << Text(findings);
}

const STimeRow kTimes[] = {
    {.name = "EntryOfZeros", .make = [] { return Entry(20, 0, Bytes(16)); }, .code = "index-zero", .ms = 400},
    {.name = "EntryBeyondTheEnd",
     .make = [] { return Entry(50, 8, Le32(0x7FFFFFFF)); },
     .code = "index-past-end",
     .ms = 1000},
    {.name = "EntryWithAnotherSize",
     .make = [] { return Entry(20, 12, Le32(250)); },
     .code = "index-mismatch",
     .ms = 400},
    {.name = "IndexEmpty", .make = EmptyIndex, .code = "index-zero", .ms = {}},
    {.name = "BytesBehindTheEnd",
     .make =
         [] {
           return SBroken{Join({Good().bytes, Bytes(100)}), {}};
         },
     .code = "trailing-data",
     .ms = {}},
    {.name = "BytesBetweenChunks", .make = GarbageInMovi, .code = "garbage", .ms = 2000},
    {.name = "DataListEndsEarly",
     .make =
         [] {
           const AviFile file = Good();
           const size_t movi = file.Find("movi");
           return Put(movi - 4, Le32(file.chunks[100] - movi), {});
         },
     .code = "sync-lost",
     .ms = 2000},
};
INSTANTIATE_TEST_SUITE_P(Check, FindingTime, testing::ValuesIn(kTimes), [](const auto& row) { return row.param.name; });

TEST(Check, WorstComesFirst) {
  const TempFolder folder;
  const std::vector<SFinding> findings = CheckFile(folder.Write("broken.avi", NoteAndError().bytes));
  ASSERT_GE(findings.size(), 2u) << Text(findings);
  EXPECT_EQ(findings.front().severity, ESeverity::kError) << Text(findings);
  EXPECT_EQ(findings.back().severity, ESeverity::kNote) << Text(findings);
}

TEST(Check, JoinedFilesAreCutAsAdvised) {
  const TempFolder folder;
  const std::vector<SFinding> findings = CheckFile(folder.Write("joined.avi", Joined().bytes));
  ASSERT_EQ(findings.size(), 1u) << Text(findings);
  std::istringstream advice(findings[0].sAdvice);
  std::string command;
  size_t commands = 0;
  const std::string out = folder.Path("out.avi");
  for (; std::getline(advice, command); ++commands) {
    command = command.substr(0, command.find(" gives "));
    command.replace(command.find("OUT.avi"), 7, out);
    ASSERT_EQ(std::system(command.c_str()), 0) << command;
    std::ifstream cut(out, std::ios::binary);
    EXPECT_EQ(Bytes(std::istreambuf_iterator<char>(cut), {}), Good().bytes) << command;
  }
  EXPECT_EQ(commands, 2u) << findings[0].sAdvice;
}

struct SStartRow {
  std::string name;
  Bytes unit;
  std::optional<bool> start;
};
void PrintTo(const SStartRow& row, std::ostream* out) { *out << row.name; }

class H264Start : public testing::TestWithParam<SStartRow> {};

TEST_P(H264Start, IsToldAsFarAsThePictureTells) { EXPECT_EQ(IsH264Start(GetParam().unit), GetParam().start); }

const SStartRow kStarts[] = {
    {.name = "Idr", .unit = {0, 0, 0, 1, 0x65, 0x88, 0x84, 0}, .start = true},
    {.name = "P", .unit = {0, 0, 0, 1, 0x41, 0x9A, 0x24, 0x6C}, .start = false},
    {.name = "PWithSmallType", .unit = {0, 0, 1, 0x41, 0xC0, 0x24, 0x6C}, .start = false},
    {.name = "B", .unit = {0, 0, 1, 0x01, 0x9E, 0x41, 0x78}, .start = false},
    {.name = "IntraWithoutIdr", .unit = {0, 0, 1, 0x41, 0x88, 0x84, 0}, .start = {}},
    {.name = "RecoveryPointAndP",
     .unit = {0, 0, 1, 0x06, 0x06, 0x01, 0xC4, 0x80, 0, 0, 1, 0x41, 0x9A, 0x24},
     .start = true},
    {.name = "RecoveryPointBehindAnotherMessage",
     .unit = {0, 0, 1, 0x06, 0x01, 0x02, 0x11, 0x22, 0x06, 0x01, 0xC4, 0x80, 0, 0, 1, 0x41, 0x9A, 0x24},
     .start = true},
    {.name = "OtherMessageAndP",
     .unit = {0, 0, 1, 0x06, 0x05, 0x02, 0x06, 0x22, 0x80, 0, 0, 1, 0x41, 0x9A, 0x24},
     .start = false},
    {.name = "ParameterSetsAlone", .unit = {0, 0, 1, 0x67, 0x42, 0, 0, 1, 0x68, 0xCE}, .start = {}},
};
INSTANTIATE_TEST_SUITE_P(Check, H264Start, testing::ValuesIn(kStarts), [](const auto& row) { return row.param.name; });

TEST(Check, CutSoundIsDeliveredAsLongAsItIs) {
  const TempFolder folder;
  const std::string path = folder.Write("cut.avi", Head(SampleBytes("xvid-pcm.avi"), 100000));
  FileSource source(path, false);
  const SFileMap map = MapFile(source, path);
  static const Host host(OwnLibrary());
  const SPlayback playback = Play(host, path);
  const FileFacts facts(map, &playback);
  const STrackFacts& sound = facts.Tracks()[1];
  EXPECT_NEAR(static_cast<double>(sound.DeliveredMs()), static_cast<double>(sound.present.nMs), 2);
}

/// MPEG pictures are cut from what is read, which begins where a chunk's data do all the same.
TEST(Check, PicturesCutFromRubbishAreNamed) {
  std::ifstream in(std::string(ZU_SAMPLES_DIR) + "/mpeg2-mp2.avi", std::ios::binary);
  AviFile file;
  file.bytes.assign(std::istreambuf_iterator<char>(in), {});
  const auto entries = static_cast<size_t>(file.bytes.size() - file.Find("idx1") - 8) / 16;
  for (size_t i = 1; i < entries; ++i) file.bytes[static_cast<size_t>(IndexEntry(file, i)) + 8] ^= 1;
  const TempFolder folder;
  const std::vector<SFinding> findings = CheckFile(folder.Write("broken.avi", file.bytes));
  std::set<int> tracks;
  for (const SFinding& finding : findings) {
    if (finding.pCode == std::string("delivered-garbage")) tracks.insert(finding.nTrack.value_or(-1));
  }
  EXPECT_EQ(tracks, std::set<int>{0}) << Text(findings);  // of the sound nothing is delivered
}

struct STextRow {
  std::string name;
  std::function<Bytes()> make;
  std::string code;
  ESeverity severity;
  std::string consequence;  ///< part of it
  bool aborts = false;      ///< the library would end the process
};
void PrintTo(const STextRow& row, std::ostream* out) { *out << row.name; }

class Consequence : public testing::TestWithParam<STextRow> {};

TEST_P(Consequence, IsWhatAViewerMeets) {
  const TempFolder folder;
  FileSource source(folder.Write("broken.avi", GetParam().make()), false);
  const SFileMap map = MapFile(source, folder.Path("broken.avi"));
  static const Host host(OwnLibrary());
  std::optional<SPlayback> playback;
  if (!GetParam().aborts) playback = Play(host, map.sPath);
  const std::vector<SFinding> findings = Check(map, playback ? &*playback : nullptr, source);
  const bool said = std::any_of(findings.begin(), findings.end(), [](const SFinding& finding) {
    return finding.pCode == GetParam().code && finding.severity == GetParam().severity &&
           finding.sConsequence.find(GetParam().consequence) != std::string::npos;
  });
  EXPECT_TRUE(said) << Text(findings);
}

const STextRow kTexts[] = {
    {.name = "JoinedFileIsNotPlayed",
     .make = [] { return Joined().bytes; },
     .code = "trailing-data",
     .severity = ESeverity::kWarning,
     .consequence = "players play the first only"},
    {.name = "JoinedFileIsPlayedWithoutIndex",
     .make = [] { return JoinedWithoutIndex().bytes; },
     .code = "trailing-data",
     .severity = ESeverity::kError,
     .consequence = "goes on into it"},
    {.name = "SoundOfRateZeroHasTimes",
     .make = [] { return InHeader("strh", 1, 24, Le32(0)).bytes; },
     .code = "rate-zero",
     .severity = ESeverity::kWarning,
     .consequence = "this one plays to 00:00:0"},
    {.name = "ListTooShortForItsType",
     .make = [] { return Put(Good().Find("movi") - 4, Le32(1), {}).bytes; },
     .code = "list-broken",
     .severity = ESeverity::kWarning,
     .consequence = "size 1 cannot be",
     .aborts = true},
    {.name = "NoDataListBesideAnotherBrokenOne",
     .make = [] { return NoDataList().bytes; },
     .code = "header-missing",
     .severity = ESeverity::kError,
     .consequence = "no list with data",
     .aborts = true},
    {.name = "DataListEndsEarly",
     .make =
         [] {
           const AviFile file = Good();
           const size_t movi = file.Find("movi");
           return Put(movi - 4, Le32(file.chunks[100] - movi), {}).bytes;
         },
     .code = "sync-lost",
     .severity = ESeverity::kError,
     .consequence = "stops at 00:00:02.000 of 00:00:04.000"},
};
INSTANTIATE_TEST_SUITE_P(Check, Consequence, testing::ValuesIn(kTexts), [](const auto& row) { return row.param.name; });

Bytes SampleWithBit(const std::string& name, size_t at, uint8_t bit) {
  Bytes bytes = SampleBytes(name);
  bytes.at(at) ^= bit;
  return bytes;
}

struct SWordsRow {
  std::string name;
  std::function<Bytes()> make;
  std::vector<std::string> said = {};    ///< parts of the findings as programs get them
  std::vector<std::string> unsaid = {};  ///< in none of them
  bool aborts = false;                   ///< the library would end the process
};
void PrintTo(const SWordsRow& row, std::ostream* out) { *out << row.name; }

std::vector<SFinding> CheckStructureOf(const std::string& path) {
  FileSource source(path, false);
  return Check(MapFile(source, path), nullptr, source);
}

class Words : public testing::TestWithParam<SWordsRow> {};

TEST_P(Words, AreTrueOfTheFile) {
  const TempFolder folder;
  const std::string path = folder.Write("broken.avi", GetParam().make());
  const std::string text = Text(GetParam().aborts ? CheckStructureOf(path) : CheckFile(path));
  for (const std::string& part : GetParam().said) EXPECT_NE(text.find(part), std::string::npos) << part << "\n" << text;
  for (const std::string& part : GetParam().unsaid)
    EXPECT_EQ(text.find(part), std::string::npos) << part << "\n" << text;
}

// Where fields of xvid-pcm.avi stand.
constexpr size_t kRiffSize = 4, kPictureRate = 132, kMoviSize = 9940, kMoviType = 9944;

const SWordsRow kWords[] = {
    {.name = "BitOfThePictureRate",
     .make = [] { return SampleWithBit("xvid-pcm.avi", kPictureRate + 3, 0x20); },
     .said = {"rate-implausible", "audio-drift"}},
    {.name = "BitOfThePictureScale",
     .make = [] { return SampleWithBit("xvid-pcm.avi", kPictureRate - 1, 0x20); },
     .said = {"rate-implausible"}},
    {.name = "ShortTagBehindTheEnd",
     .make =
         [] {
           return Join({SampleBytes("xvid-pcm.avi"), "TAG", Bytes(125, 'x')});
         },
     .said = {"trailing-data"},
     .unsaid = {"riff-truncated"}},
    {.name = "NoteBehindTheEnd",
     .make =
         [] {
           return Join({SampleBytes("xvid-pcm.avi"), "<!-- made by xyz -->"});
         },
     .said = {"trailing-data"},
     .unsaid = {"riff-truncated"}},
    {.name = "BitOfTheRiffSize",
     .make = [] { return SampleWithBit("xvid-pcm.avi", kRiffSize + 3, 0x80); },
     .said = {R"("severity":"warning","code":"riff-truncated")", "2147483648 bytes too large, and nothing is missing"},
     .unsaid = {"get the file from its source"}},
    {.name = "EndCutOff",
     .make = [] { return Head(SampleBytes("xvid-pcm.avi"), 100000); },
     .said = {R"("severity":"error","code":"riff-truncated")", "get the file from its source"}},
    {.name = "ChunkIndexBeyondAllFiles",
     .make =
         [] {
           AviFile file;
           file.bytes = SampleBytes("opendml.avi");
           return file.Put(file.Find("ix00") + 20, Le64(0x7fffffffffffffff)).bytes;
         },
     .said = {"plays all without the index: no seeking"},
     .unsaid = {"playback ends", "jumps there"}},
    {.name = "HalfAnOpenDmlFile",
     .make =
         [] {
           const Bytes bytes = SampleBytes("opendml.avi");
           return Head(bytes, bytes.size() / 2);
         },
     .said = {"index-short"},
     .unsaid = {"sound stops at 00:00:00.000"}},
    {.name = "RiffSizeTooSmall",
     .make =
         [] {
           AviFile file;
           file.bytes = SampleBytes("xvid-pcm.avi");
           return file.Put(kRiffSize, Le32(static_cast<uint32_t>(file.bytes.size()) - 8 - 1000)).bytes;
         },
     .unsaid = {": the picture stops at", ": the sound stops at", "size-zero"}},
    {.name = "BitOfTheDataListsSize",
     .make = [] { return SampleWithBit("xvid-pcm.avi", kMoviSize + 2, 1); },
     .said = {R"("severity":"warning","code":"sync-lost")"},
     .unsaid = {"00:00:02.400 of 00:00:02.400"}},
    {.name = "RawRgb",
     .make = [] { return WithHeaders({.fourcc = std::string(4, '\0')}, "strf").bytes; },
     .said = {"uncompressed RGB (BI_RGB)"}},
    {.name = "AllKeyFlagsOfH264",
     .make =
         [] {
           AviFile file;
           file.bytes = SampleBytes("h264-ac3.avi");
           for (size_t at = file.Find("idx1") + 12; at < file.bytes.size(); at += 16) file.bytes[at] |= 0x10;
           return file.bytes;
         },
     .said = {"keyflags-all"}},
    {.name = "DataListOfAnotherName",
     .make = [] { return SampleWithBit("xvid-pcm.avi", kMoviType, 1); },
     .said = {R"("code":"header-missing","offset":9936)", R"(is named \"lovi\")"},
     .unsaid = {"index-mismatch", "header-length-differs"}},
    {.name = "SecondDataListOfAnotherName",
     .make =
         [] {
           AviFile file;
           file.bytes = SampleBytes("xvid-pcm.avi");
           return Join(
               {file.bytes, Chunk("RIFF", Join({"AVIX", Chunk("LIST", Join({"lovi", Chunk("00dc", "abcd")}))}))});
         },
     .said = {R"("code":"unknown-chunk-id","offset":165996)"}},
    {.name = "DataListTooShortForItsType",
     .make =
         [] {
           Bytes bytes = SampleBytes("xvid-pcm.avi");
           std::fill_n(bytes.begin() + kMoviSize, 4, uint8_t{0});
           bytes[kMoviSize] = 3;
           return bytes;
         },
     .said = {"list-broken"},
     .unsaid = {"index-mismatch", "header-length-differs", "unknown-chunk-id"},
     .aborts = true},
    {.name = "NothingBehindTheHeaders",
     .make = [] { return Head(SampleBytes("xvid-pcm.avi"), 9948); },
     .said = {"no remux mends it"},
     .unsaid = {"aviprobe remux"}},
    {.name = "DataListOfSizeZero",
     .make =
         [] {
           Bytes bytes = SampleBytes("xvid-pcm.avi");
           std::fill_n(bytes.begin() + kMoviSize, 4, uint8_t{0});
           return bytes;
         },
     .said = {"no remux mends it"},
     .unsaid = {"aviprobe remux"}},
    {.name = "BitOfTheDataListsName",
     .make = [] { return SampleWithBit("xvid-pcm.avi", kMoviType, 2); },
     .said = {"header-missing"},
     .unsaid = {"aviprobe remux"}},
};
INSTANTIATE_TEST_SUITE_P(Check, Words, testing::ValuesIn(kWords), [](const auto& row) { return row.param.name; });

TEST(Check, GoodFilesHaveNoFinding) {
  const TempFolder folder;
  const std::vector<SFinding> legacy = CheckFile(folder.Write("good.avi", Good().bytes));
  EXPECT_TRUE(legacy.empty()) << Text(legacy);
  const std::vector<SFinding> odml = CheckFile(folder.Write("odml.avi", OpenDml().bytes));
  EXPECT_TRUE(odml.empty()) << Text(odml);
}

class Sample : public testing::TestWithParam<const char*> {};

TEST_P(Sample, HasNoFindingBut) {
  const std::string name = GetParam();
  std::set<std::string> found, expected;
  if (name == "no-index.avi") expected.insert("index-missing");  // made without one on purpose
  if (name == "eac3.avi") expected.insert("audio-clock");  // the library takes twice the true rate from its frames
  const std::vector<SFinding> findings = CheckFile(std::string(ZU_SAMPLES_DIR) + "/" + name);
  for (const SFinding& finding : findings) found.insert(finding.pCode);
  EXPECT_EQ(found, expected) << Text(findings);
}

INSTANTIATE_TEST_SUITE_P(Check, Sample,
                         testing::Values("audio-only.avi", "eac3.avi", "h264-ac3.avi", "mjpeg-pcm24.avi",
                                         "mpeg2-mp2.avi", "mpeg4-bframes-mp3.avi", "mulaw.avi", "no-index.avi",
                                         "opendml.avi", "two-audio.avi", "video-only.avi", "xvid-pcm.avi"));

struct SToolRow {
  std::string name;
  std::string arguments;  ///< FOLDER stands for the files'
  int nExit;
};
void PrintTo(const SToolRow& row, std::ostream* out) { *out << row.name; }

class CheckFolder : public testing::Test {
 protected:
  CheckFolder() {
    m_Folder.Write("empty.avi", {});
    m_Folder.Write("good.avi", Good().bytes);
    m_Folder.Write("note.avi", BehindMovi(Chunk("ABCD", "1234")).bytes);
    m_Folder.Write("noindex.avi", NoIndex().bytes);
    m_Folder.Write("sound.avi", SoundMostlyNotIndexed());
    m_Folder.Write("text.avi", Bytes(5000, 'x'));
    AviFile abort = Good();
    abort.Put(abort.Find("movi") - 4, Le32(2));
    m_Folder.Write("abort.avi", abort.bytes);
  }
  SRun Run(std::string arguments) const {
    for (size_t at; (at = arguments.find("FOLDER")) != std::string::npos;) {
      arguments.replace(at, 6, m_Folder.Path(""));
    }
    return RunTool("check " + arguments);
  }
  TempFolder m_Folder;
};

class CheckTool : public CheckFolder, public testing::WithParamInterface<SToolRow> {};

TEST_P(CheckTool, ExitsAsTheWorstFile) {
  const SRun run = Run(GetParam().arguments);
  EXPECT_EQ(run.nExit, GetParam().nExit) << run.sOutput;
}

const SToolRow kToolRows[] = {
    {.name = "Good", .arguments = "FOLDERgood.avi", .nExit = 0},
    {.name = "Note", .arguments = "FOLDERnote.avi", .nExit = 0},
    {.name = "NoteStrict", .arguments = "--strict FOLDERnote.avi", .nExit = 1},
    {.name = "Warning", .arguments = "FOLDERnoindex.avi", .nExit = 1},
    {.name = "Usage", .arguments = "--jobs 0 FOLDERgood.avi", .nExit = 2},
    {.name = "NoAvi", .arguments = "FOLDERgood.avi FOLDERtext.avi", .nExit = 3},
    {.name = "NoFile", .arguments = "FOLDERnowhere.avi", .nExit = 3},
    {.name = "Abort", .arguments = "FOLDERabort.avi FOLDERtext.avi", .nExit = 4},
    {.name = "AbortQuick", .arguments = "--quick FOLDERabort.avi", .nExit = 1},
};
INSTANTIATE_TEST_SUITE_P(Check, CheckTool, testing::ValuesIn(kToolRows),
                         [](const auto& row) { return row.param.name; });

class CheckBatch : public CheckTool {};

TEST_P(CheckBatch, AbortLeavesTheOthers) {
  const SRun run = Run(GetParam().arguments);
  EXPECT_EQ(run.nExit, GetParam().nExit) << run.sOutput;
  EXPECT_NE(run.sOutput.find(R"("code":"library-aborts")"), std::string::npos) << run.sOutput;
  EXPECT_NE(run.sOutput.find("while opening"), std::string::npos) << run.sOutput;
  EXPECT_NE(run.sOutput.find(R"("code":"index-missing")"), std::string::npos) << run.sOutput;
  EXPECT_NE(run.sOutput.find(R"("files":4,"fine":2)"), std::string::npos) << run.sOutput;
}

const SToolRow kBatches[] = {
    {.name = "OneByOne",
     .arguments = "--json FOLDERgood.avi FOLDERabort.avi FOLDERnoindex.avi FOLDERgood.avi",
     .nExit = 4},
    {.name = "FourAtATime",
     .arguments = "--json --jobs 4 FOLDERgood.avi FOLDERabort.avi FOLDERnoindex.avi FOLDERgood.avi",
     .nExit = 4},
};
INSTANTIATE_TEST_SUITE_P(Check, CheckBatch, testing::ValuesIn(kBatches),
                         [](const auto& row) { return row.param.name; });

struct SSayRow {
  std::string name;
  std::string arguments;  ///< FOLDER stands for the files'
  std::string wanted;     ///< or unwanted
};
void PrintTo(const SSayRow& row, std::ostream* out) { *out << row.name; }

class CheckSays : public CheckFolder, public testing::WithParamInterface<SSayRow> {};

TEST_P(CheckSays, What) {
  const SRun run = Run(GetParam().arguments);
  EXPECT_NE(run.sOutput.find(GetParam().wanted), std::string::npos) << run.sOutput;
}

const SSayRow kSays[] = {
    {.name = "ReadErrorIsUnreadable",
     .arguments = "--json --fail-at 5:-1 FOLDERgood.avi",
     .wanted = R"("verdict":"unreadable")"},
    {.name = "ReadErrorHasItsReason",
     .arguments = "--json --fail-at 5:-1 FOLDERgood.avi",
     .wanted = "reads were made to fail"},
    {.name = "NoFileHasItsReason", .arguments = "--json FOLDERnowhere.avi", .wanted = R"("code":"unreadable")"},
    {.name = "TextCountsAsUnreadable", .arguments = "FOLDERtext.avi FOLDERgood.avi", .wanted = "1 fine, 1 unreadable"},
    {.name = "EmptyCountsAsUnreadable",
     .arguments = "FOLDERempty.avi FOLDERgood.avi",
     .wanted = "1 fine, 1 unreadable"},
    {.name = "EmptyHasItsReason", .arguments = "FOLDERempty.avi", .wanted = "the file is empty"},
    {.name = "TrackThatPlaysLeast",
     .arguments = "FOLDERsound.avi",
     .wanted = "plays 00:00:04.000 of 00:00:04.000, track 1 (audio) 00:00:00.4"},
    {.name = "AbortInTheTable", .arguments = "FOLDERabort.avi FOLDERgood.avi", .wanted = "\nlibrary aborts "},
};
INSTANTIATE_TEST_SUITE_P(Check, CheckSays, testing::ValuesIn(kSays), [](const auto& row) { return row.param.name; });

TEST_F(CheckFolder, AdviceIsPrintedOnce) {
  m_Folder.Write("short.avi", ShortIndex().bytes);
  const std::string text = Run("FOLDERshort.avi").sOutput;
  const size_t first = text.find("--ignore-index");
  ASSERT_NE(first, std::string::npos) << text;
  EXPECT_EQ(text.find("--ignore-index", first + 1), std::string::npos) << text;
  const std::string json = Run("--json FOLDERshort.avi").sOutput;
  EXPECT_NE(json.find("--ignore-index"), json.rfind("--ignore-index")) << json;
}

class CheckSaysNot : public CheckFolder, public testing::WithParamInterface<SSayRow> {};

TEST_P(CheckSaysNot, What) {
  const SRun run = Run(GetParam().arguments);
  EXPECT_EQ(run.sOutput.find(GetParam().wanted), std::string::npos) << run.sOutput;
}

const SSayRow kUnsaid[] = {
    {.name = "RemuxAfterAnAbort", .arguments = "FOLDERabort.avi", .wanted = "aviprobe remux"},
    {.name = "CheckAfterAnAbort", .arguments = "FOLDERabort.avi", .wanted = "aviprobe check"},
    {.name = "RemuxBeforePlaying", .arguments = "--quick FOLDERnoindex.avi", .wanted = "aviprobe remux"},
};
INSTANTIATE_TEST_SUITE_P(Check, CheckSaysNot, testing::ValuesIn(kUnsaid),
                         [](const auto& row) { return row.param.name; });

}  // namespace
