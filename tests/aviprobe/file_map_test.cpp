#include "tools/aviprobe/model/file_map.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <string>
#include <vector>

#include "tests/aviprobe/temp_file.h"
#include "tests/support/avi_builder.h"

namespace {

namespace fs = std::filesystem;

SFileMap MapOf(const Bytes& bytes, bool resync = true) {
  const TempFile file(bytes);
  FileSource source(file.Path(), false);
  return MapFile(source, file.Path(), {.bResync = resync});
}

/// What a map finds wrong, in the order of the file: "FourCC@offset mark bytes", "gap@offset bytes".
std::vector<std::string> Faults(const SFileMap& map) {
  struct SFault {
    int64_t nOffset;
    std::string sText;
  };
  std::vector<SFault> faults;
  for (size_t i = 0; i < map.chunks.size(); ++i) {
    const SChunk& chunk = map.Chunk(i);
    for (const SMark& mark : map.MarksOf(i)) {
      faults.push_back({chunk.nOffset, std::string((chunk.bList ? chunk.type : chunk.id).Text()) + "@" +
                                           std::to_string(chunk.nOffset) + " " + MarkName(mark.mark) +
                                           (mark.nBytes ? " " + std::to_string(mark.nBytes) : "")});
    }
  }
  for (const SLeftOver& gap : map.leftOver) {
    faults.push_back({gap.nOffset, std::string(gap.bResynced ? "skipped@" : "left@") + std::to_string(gap.nOffset) +
                                       " " + std::to_string(gap.nBytes)});
  }
  std::stable_sort(faults.begin(), faults.end(),
                   [](const SFault& a, const SFault& b) { return a.nOffset < b.nOffset; });
  std::vector<std::string> texts;
  texts.reserve(faults.size());
  for (const SFault& fault : faults) texts.push_back(fault.sText);
  return texts;
}

std::vector<fs::path> Samples() {
  std::vector<fs::path> samples;
  for (const auto& entry : fs::directory_iterator(ZU_SAMPLES_DIR)) {
    if (entry.path().extension() == ".avi") samples.push_back(entry.path());
  }
  return samples;
}

TEST(FileMap, StreamsAreFoundWithoutTheData) {
  for (const fs::path& sample : Samples()) {
    FileSource source(sample, false);
    const SFileMap all = MapFile(source, sample);
    const SFileMap headers = MapFile(source, sample, {.bData = false});
    ASSERT_EQ(headers.streams.size(), all.streams.size()) << sample;
    for (size_t i = 0; i < all.streams.size(); ++i) {
      EXPECT_EQ(headers.streams[i].DeclaredSeconds(), all.streams[i].DeclaredSeconds()) << sample << ", stream " << i;
    }
    const auto isData = [](const SChunk& chunk) { return chunk.bData; };
    EXPECT_EQ(std::count_if(headers.chunks.begin(), headers.chunks.end(), isData), 0) << sample;
  }
}

TEST(FileMap, FindsNothingWrongWithGoodFiles) {
  ASSERT_GT(Samples().size(), 5u);
  for (const fs::path& path : Samples()) {
    SCOPED_TRACE(path.filename());
    FileSource source(path, false);
    const SFileMap map = MapFile(source, path);
    std::vector<std::string> faults = Faults(map);
    // A chunk of no bytes stands for a unit that has nothing new: here the sound that an encoder had not ready yet.
    std::erase_if(faults,
                  [](const std::string& fault) { return fault.starts_with("01wb@") && fault.ends_with(" empty"); });
    EXPECT_EQ(faults, std::vector<std::string>());
    EXPECT_TRUE(map.IsAvi());
    EXPECT_TRUE(map.main.has_value());
    EXPECT_FALSE(map.movis.empty());
    EXPECT_EQ(map.main ? map.main->nStreams : 0, map.streams.size());
  }
}

TEST(FileMap, EntriesOfGoodIndexesNameChunks) {
  size_t legacy = 0, odml = 0, slots = 0;
  for (const fs::path& path : Samples()) {
    SCOPED_TRACE(path.filename());
    FileSource source(path, false);
    const SFileMap map = MapFile(source, path);
    for (const auto* entries : {&map.legacy, &map.odml}) {
      for (const SIndexRef& entry : *entries) {
        ASSERT_GE(entry.nChunk, 0) << "entry at " << entry.nAt;
        const SChunk& chunk = map.Chunk(static_cast<size_t>(entry.nChunk));
        EXPECT_EQ(chunk.id, entry.id) << "entry at " << entry.nAt;
        EXPECT_EQ(chunk.nSize, entry.nSize) << "entry at " << entry.nAt;
        EXPECT_EQ(chunk.nStream, entry.nStream) << "entry at " << entry.nAt;
      }
    }
    for (const SSuperSlot& slot : map.superSlots) EXPECT_TRUE(slot.bFound) << "slot at " << slot.nAt;
    legacy += map.legacy.size();
    odml += map.odml.size();
    slots += map.superSlots.size();
  }
  EXPECT_GT(legacy, 100u);
  EXPECT_GT(odml, 50u);
  EXPECT_GT(slots, 1u);
}

// Damage.

constexpr size_t kUnit = 40;  // bytes of each chunk's data
constexpr uint32_t kUnitChunk = kUnit + 8;

/// Six chunks, of video and audio in turn. Their data look like nothing.
AviBuilder SixChunks() {
  AviBuilder film;
  film.Video().Audio();
  for (unsigned i = 0; i < 6; ++i) film.Chunk(i % 2, Bytes(kUnit, 0xE1));
  return film;
}

void Insert(Bytes* bytes, uint64_t at, const Bytes& more) {
  bytes->insert(bytes->begin() + static_cast<ptrdiff_t>(at), more.begin(), more.end());
}

/// Adds to a size that stands in the file.
void Grow(AviFile* file, size_t at, int64_t by) {
  uint32_t size = 0;
  for (size_t i = 0; i < 4; ++i) size |= uint32_t{file->bytes[at + i]} << (8 * i);
  file->Put(at, Le32(static_cast<uint32_t>(size + by)));
}
void GrowList(AviFile* file, const std::string& type, int64_t by) { Grow(file, file->Find(type) - 4, by); }
void GrowChunk(AviFile* file, size_t number, int64_t by) { Grow(file, file->chunks[number] + 4, by); }

using Texts = std::vector<std::string>;
std::string At(const std::string& name, uint64_t at, const std::string& what) {
  return name + "@" + std::to_string(at) + " " + what;
}
std::string Bytewise(const char* what, uint64_t bytes) { return what + (" " + std::to_string(bytes)); }

struct DamageRow {
  const char* name;
  bool indexed;
  std::function<void(AviFile&)> damage;
  std::function<Texts(const AviFile& sound, const AviFile& damaged)> faults;
};

class DamagedFile : public testing::TestWithParam<DamageRow> {};

TEST_P(DamagedFile, IsMarkedWhereItIsWrong) {
  const DamageRow& row = GetParam();
  AviBuilder film = SixChunks();
  const AviFile sound = (row.indexed ? film.OldIndex() : film).Build();
  AviFile damaged = sound;
  row.damage(damaged);
  EXPECT_EQ(Faults(MapOf(damaged.bytes)), row.faults(sound, damaged));
}

const DamageRow kDamage[] = {
    {.name = "HeaderOverwritten",
     .indexed = true,
     .damage = [](AviFile& f) { f.Put(f.chunks[2], Bytes(8, 0xEE)); },
     .faults = [](const AviFile& f, const AviFile&) -> Texts {
       return {At("skipped", f.chunks[2], std::to_string(kUnitChunk))};
     }},
    {.name = "SizeTooLarge",
     .indexed = true,
     .damage = [](AviFile& f) { GrowChunk(&f, 2, 10); },
     .faults = [](const AviFile& f, const AviFile&) -> Texts { return {At("00dc", f.chunks[2], "wrong_size 40")}; }},
    {.name = "SizeTooSmall",
     .indexed = true,
     .damage = [](AviFile& f) { GrowChunk(&f, 3, -18); },
     .faults = [](const AviFile& f, const AviFile&) -> Texts { return {At("01wb", f.chunks[3], "wrong_size 40")}; }},
    {.name = "SizeWithAFlippedBit",
     .indexed = false,
     .damage = [](AviFile& f) { GrowChunk(&f, 3, -8); },
     .faults = [](const AviFile& f, const AviFile&) -> Texts { return {At("01wb", f.chunks[3], "wrong_size 40")}; }},
    {.name = "ForeignBytesBetweenChunks",
     .indexed = false,
     .damage =
         [](AviFile& f) {
           Insert(&f.bytes, f.chunks[4], Bytes(30, 0xEE));
           GrowList(&f, "movi", 30);
           Grow(&f, 4, 30);
         },
     .faults = [](const AviFile& f, const AviFile&) -> Texts { return {At("skipped", f.chunks[4], "30")}; }},
    {.name = "SizeBeyondTheFile",
     .indexed = true,
     .damage = [](AviFile& f) { f.Put(f.chunks[1] + 4, Le32(0x7FFFFFFF)); },
     .faults = [](const AviFile& f, const AviFile&) -> Texts {
       const uint64_t end = f.chunks[1] + 8 + 0x7FFFFFFF;
       return {At("01wb", f.chunks[1], Bytewise("past_list", end - (f.chunks[5] + kUnitChunk))),
               At("01wb", f.chunks[1], Bytewise("past_file", end - f.bytes.size())),
               At("01wb", f.chunks[1], "wrong_size 40")};
     }},
    {.name = "MoviTwoChunksTooShort",
     .indexed = true,
     .damage = [](AviFile& f) { GrowList(&f, "movi", -2 * int64_t{kUnitChunk}); },
     .faults = [](const AviFile& f, const AviFile&) -> Texts {
       return {At("movi", f.movi - 12, Bytewise("wrong_size", 4 + 6 * kUnitChunk))};
     }},
    {.name = "MoviEndsInsideAChunk",
     .indexed = true,
     .damage = [](AviFile& f) { GrowList(&f, "movi", -2 * int64_t{kUnitChunk} - 10); },
     .faults = [](const AviFile& f, const AviFile&) -> Texts {
       return {At("movi", f.movi - 12, Bytewise("wrong_size", 4 + 6 * kUnitChunk))};
     }},
    {.name = "MoviHoldsTheIndex",
     .indexed = true,
     .damage = [](AviFile& f) { GrowList(&f, "movi", 8 + 6 * 16); },
     .faults = [](const AviFile& f, const AviFile&) -> Texts {
       return {At("movi", f.movi - 12, Bytewise("wrong_size", 4 + 6 * kUnitChunk))};
     }},
    {.name = "RiffAndMoviTooShort",
     .indexed = true,
     .damage =
         [](AviFile& f) {
           f.Put(4, Le32(f.chunks[3] + 20 - 8));
           f.Put(f.movi - 8, Le32(f.chunks[3] + 20 - f.movi + 4));
         },
     .faults = [](const AviFile& f, const AviFile&) -> Texts {
       return {At("AVI ", 0, Bytewise("wrong_size", f.bytes.size() - 8)),
               At("movi", f.movi - 12, Bytewise("wrong_size", 4 + 6 * kUnitChunk))};
     }},
    {.name = "ListsNeverClosed",
     .indexed = false,
     .damage =
         [](AviFile& f) {
           f.Put(4, Le32(0));
           f.Put(f.movi - 8, Le32(0));
         },
     .faults = [](const AviFile& f, const AviFile&) -> Texts {
       return {At("AVI ", 0, "empty"), At("movi", f.movi - 12, "empty")};
     }},
    {.name = "CutOff",
     .indexed = true,
     .damage = [](AviFile& f) { f.bytes.resize(f.chunks[4] + 18); },
     .faults = [](const AviFile& f, const AviFile& cut) -> Texts {
       return {At("AVI ", 0, Bytewise("past_file", f.bytes.size() - cut.bytes.size())),
               At("movi", f.movi - 12, Bytewise("past_file", kUnit - 10 + kUnitChunk)),
               At("00dc", f.chunks[4], Bytewise("past_file", kUnit - 10))};
     }},
    {.name = "UnknownName",
     .indexed = false,
     .damage = [](AviFile& f) { f.Put(f.chunks[2], "zzzz"); },
     .faults = [](const AviFile& f, const AviFile&) -> Texts { return {At("zzzz", f.chunks[2], "unknown_id")}; }},
    {.name = "HeaderOfAStreamInMovi",
     .indexed = false,
     .damage = [](AviFile& f) { f.Put(f.chunks[2], "strh"); },
     .faults = [](const AviFile& f, const AviFile&) -> Texts { return {At("strh", f.chunks[2], "misplaced_id")}; }},
    {.name = "NameNotPrintable",
     .indexed = false,
     .damage = [](AviFile& f) { f.Put(f.chunks[2] + 2, Bytes{0x01}); },
     .faults = [](const AviFile& f, const AviFile&) -> Texts {
       return {At(std::string("00\x01") + "c", f.chunks[2], "bad_id")};
     }},
    {.name = "OddWithoutPad",
     .indexed = false,
     .damage =
         [](AviFile& f) {
           f.bytes.erase(f.bytes.begin() + static_cast<ptrdiff_t>(f.chunks[3]) - 1);
           GrowChunk(&f, 2, -1);
           GrowList(&f, "movi", -1);
           Grow(&f, 4, -1);
         },
     .faults = [](const AviFile& f, const AviFile&) -> Texts { return {At("00dc", f.chunks[2], "no_pad")}; }},
    {.name = "BytesInFrontOfTheFile",
     .indexed = true,
     .damage = [](AviFile& f) { Insert(&f.bytes, 0, Bytes(100, 0x00)); },
     .faults = [](const AviFile&, const AviFile&) -> Texts { return {At("skipped", 0, "100")}; }},
    {.name = "BytesBehindTheFile",
     .indexed = true,
     .damage = [](AviFile& f) { Append(f.bytes, Bytes(100, 0xEE)); },
     .faults = [](const AviFile& f, const AviFile&) -> Texts { return {At("left", f.bytes.size(), "100")}; }},
};
INSTANTIATE_TEST_SUITE_P(Table, DamagedFile, testing::ValuesIn(kDamage),
                         [](const auto& row) { return std::string(row.param.name); });

TEST(FileMap, WithoutResyncAListEndsAtDamageAndTheCulpritIsNamed) {
  AviFile file = SixChunks().OldIndex().Build();
  const uint64_t landing = file.chunks[3] + 10, moviEnd = file.chunks[5] + kUnitChunk;
  GrowChunk(&file, 2, 10);
  EXPECT_EQ(Faults(MapOf(file.bytes, false)), (Texts{At("00dc", file.chunks[2], "wrong_size 40"),
                                                     At("left", landing, std::to_string(moviEnd - landing))}));
}

TEST(FileMap, GoesNoDeeperThan64Lists) {
  Bytes nested;
  for (int i = 0; i < 70; ++i) nested = List("rec ", nested);
  const SFileMap map = MapOf(Riff("AVI ", List("movi", nested)));
  ASSERT_EQ(map.chunks.size(), 65u);
  const std::vector<SMark> marks = map.MarksOf(64);
  ASSERT_EQ(marks.size(), 1u);
  EXPECT_EQ(marks[0].mark, EMark::kTooDeep);
}

// Index entries.

struct BaseRow {
  const char* name;
  Offsets offsets;
};
class LegacyBase : public testing::TestWithParam<BaseRow> {};

TEST_P(LegacyBase, IsTheOneByWhichEntriesNameChunks) {
  AviBuilder film;
  film.Video().Rec().Chunk(0, Bytes(kUnit, 0xE1)).EndRec().Chunk(0, Bytes(kUnit, 0xE1), false);
  const AviFile file = film.IndexEntry("rec ", 0, 4, 60).OldIndex(GetParam().offsets).Build();
  const SFileMap map = MapOf(file.bytes);
  ASSERT_EQ(map.legacy.size(), 3u);
  EXPECT_EQ(map.legacy[0].nPosition, static_cast<int64_t>(file.chunks[0]));
  EXPECT_EQ(map.legacy[1].nPosition, static_cast<int64_t>(file.chunks[1]));
  EXPECT_GE(map.legacy[1].nChunk, 0);
  EXPECT_TRUE(map.legacy[0].bKey);
  EXPECT_FALSE(map.legacy[1].bKey);
  EXPECT_EQ(map.legacy[1].nStream, 0);
  EXPECT_EQ(map.legacy[2].nStream, kNoStream) << "of a rec list";
}
constexpr BaseRow kBases[] = {
    {"FromMovi", Offsets::kFromMovi}, {"FromFileToHeader", Offsets::kToHeader}, {"FromFileToData", Offsets::kToData}};
INSTANTIATE_TEST_SUITE_P(Table, LegacyBase, testing::ValuesIn(kBases),
                         [](const auto& row) { return std::string(row.param.name); });

TEST(FileMap, OpenDmlGroupsAreOneFile) {
  AviBuilder film;
  film.Video().Chunk(0, Bytes(kUnit, 0xE1)).Chunk(0, Bytes(kUnit, 0xE1), false).ChunkIndex(0).NextRiff();
  const AviFile file = film.Chunk(0, Bytes(kUnit, 0xE1)).ChunkIndex(0).Build();
  const SFileMap map = MapOf(file.bytes);
  EXPECT_EQ(Faults(map), Texts());
  EXPECT_EQ(map.movis.size(), 2u);
  ASSERT_EQ(map.odml.size(), 3u);
  for (size_t i = 0; i < map.odml.size(); ++i) {
    EXPECT_EQ(map.odml[i].nPosition, static_cast<int64_t>(file.chunks[i])) << "entry " << i;
    EXPECT_GE(map.odml[i].nChunk, 0) << "entry " << i;
  }
  EXPECT_TRUE(map.odml[0].bKey);
  EXPECT_FALSE(map.odml[1].bKey);
  ASSERT_EQ(map.superSlots.size(), 2u);
  EXPECT_TRUE(map.superSlots[1].bFound);
}

TEST(FileMap, AnIndexGivesNoMoreEntriesThanItHolds) {
  AviBuilder film;
  film.Video().Chunk(0, Bytes(kUnit, 0xE1)).Chunk(0, Bytes(kUnit, 0xE1)).ChunkIndex(0);
  AviFile file = film.Build();
  file.Put(file.Find("ix00") + 12, Le32(0xFFFFFFFF));
  file.Put(file.Find("indx") + 12, Le32(0xFFFFFFFF));
  const SFileMap map = MapOf(file.bytes);
  ASSERT_EQ(map.chunkIndexes.size(), 1u);
  EXPECT_FALSE(map.chunkIndexes[0].bReadable);
  EXPECT_EQ(map.chunkIndexes[0].nEntries, 0xFFFFFFFFu);
  EXPECT_EQ(map.chunkIndexes[0].nRead, 2u);
  ASSERT_EQ(map.superSlots.size(), 1u);
  EXPECT_FALSE(map.superSlots[0].bFound);
}

// Fields.

/// The file whose fields are looked at. Sound is stream 0, in floating point as its sub-format says; video is stream 1.
AviFile FileWithFields() {
  const Bytes subFormat = Join({Le16(24), Le32(3), "\3\0\0\0\0\0\x10\0\x80\0\0\xAA\0\x38\x9B\x71"});
  AviBuilder film;
  film.Main({.microSecPerFrame = 33367});
  film.Audio({.tag = 0xFFFE, .extra = subFormat}, StreamHeader{.scale = 0, .rate = 44100});
  film.InStream(Chunk("strn", "Rue\x1b[2J\0"));
  film.Video({.fourcc = "xvid", .height = 0xFFFFFF10}, {.scale = 1001, .rate = 30000, .length = 300});
  film.InHeader(List("odml", Chunk("dmlh", Le32(123))));
  film.Chunk(1, Bytes(kUnit, 0xE1)).Chunk(1, Bytes(kUnit, 0xE1), false).ChunkIndex(1).OldIndex();
  AviFile file = film.Build();
  return file.Put(file.Find("avih") + 8 + 12, Le32(0x80000110));
}

struct FieldRow {
  const char* row;
  const char* chunk;
  size_t nth;  ///< of the chunks with that name
  const char* name;
  uint64_t at;  ///< in the chunk's data
  const char* raw;
  const char* meaning;  ///< with #0 for the position of the first data chunk
};
class DecodedField : public testing::TestWithParam<FieldRow> {};

TEST_P(DecodedField, StandsWhereItIsAndSaysWhatItMeans) {
  const FieldRow& row = GetParam();
  const AviFile bytes = FileWithFields();
  const TempFile file(bytes.bytes);
  FileSource source(file.Path(), false);
  const SFileMap map = MapFile(source, file.Path());
  const auto at = static_cast<int64_t>(bytes.Find(row.chunk, row.nth));
  const SChunk* chunk = map.ChunkAt(at);
  ASSERT_NE(chunk, nullptr);
  const std::vector<SField> fields = DecodeFields(source, map, static_cast<size_t>(chunk - map.chunks.data()));
  const auto field = std::find_if(fields.begin(), fields.end(), [&](const SField& f) { return f.sName == row.name; });
  ASSERT_NE(field, fields.end());
  EXPECT_EQ(field->nOffset, at + 8 + static_cast<int64_t>(row.at));
  EXPECT_EQ(field->sRaw, row.raw);
  std::string meaning = row.meaning;
  if (const size_t mark = meaning.find('#'); mark != std::string::npos) {
    const auto number = static_cast<size_t>(meaning[mark + 1] - '0');
    meaning.replace(mark, 2, std::to_string(bytes.chunks[number]));
  }
  EXPECT_EQ(field->sMeaning, meaning);
}

const FieldRow kFields[] = {
    {"FrameTime", "avih", 0, "dwMicroSecPerFrame", 0, "33367", "29.97 frames/s"},
    {"MainFlags", "avih", 0, "dwFlags", 12, "0x80000110", "has an index, is interleaved, unknown 0x80000000"},
    {"NoScale", "strh", 0, "dwRate", 24, "44100", "scale 0: no rate"},
    {"Rate", "strh", 1, "dwRate", 24, "30000", "29.97 frames/s (30000/1001)"},
    {"Length", "strh", 1, "dwLength", 32, "300", "10.010 s"},
    {"Tag", "strf", 0, "wFormatTag", 0, "0xfffe", "extensible: the sub-format says which"},
    {"SubFormat", "strf", 0, "SubFormat", 24, "00000003-0000-0010-8000-00aa00389b71", "PCM, floating point"},
    {"BytesPerSecond", "strf", 0, "nAvgBytesPerSec", 8, "176400", "1411.2 kbit/s"},
    {"Compression", "strf", 1, "biCompression", 16, "xvid", "MPEG-4 Visual"},
    {"NegativeHeight", "strf", 1, "biHeight", 8, "-240", "lines run from the top"},
    {"NameOfAStream", "strn", 0, "szName", 0, "Rue\\x1b[2J", ""},
    {"FramesOfAllGroups", "dmlh", 0, "dwTotalFrames", 0, "123", ""},
    {"SuperIndex", "indx", 0, "bIndexType", 3, "0", "index of indexes"},
    {"ChunkIndex", "ix01", 0, "bIndexType", 3, "1", "index of chunks"},
    {"ChunkIndexEntry", "ix01", 0, "aIndex[1]", 32, "dwOffset 56, dwSize 0x80000028", "01dc at #1, 40 bytes"},
    {"LegacyEntry", "idx1", 0, "aIndex[0]", 0, "ckid 01dc, dwFlags 0x00000010, dwChunkOffset 4, dwChunkLength 40",
     "01dc at #0, key frame"},
};
INSTANTIATE_TEST_SUITE_P(Table, DecodedField, testing::ValuesIn(kFields),
                         [](const auto& row) { return std::string(row.param.row); });

TEST(FileMap, ReadsTheStreamsHeaders) {
  const SFileMap map = MapOf(FileWithFields().bytes);
  ASSERT_EQ(map.streams.size(), 2u);
  EXPECT_EQ(map.streams[0].FormatTag(), 3);
  EXPECT_EQ(map.streams[0].sName, "Rue\x1b[2J");
  EXPECT_FALSE(map.streams[0].DeclaredSeconds().has_value());
  EXPECT_EQ(map.streams[1].Compression(), FourCC("xvid"));
  EXPECT_EQ(map.streams[1].Height(), -240);
  EXPECT_DOUBLE_EQ(map.streams[1].DeclaredSeconds().value_or(0), 10.01);
}

}  // namespace
