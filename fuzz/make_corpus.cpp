// Writes the first inputs of every target: make_corpus DIRECTORY SAMPLE...
#include <algorithm>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <iterator>

#include "tests/support/avi_builder.h"

namespace {

namespace fs = std::filesystem;
fs::path g_root;

/// Writes `body` with what its target is to decide, in the order in which it draws.
void Seed(const std::string& target, const Bytes& body, Bytes decisions = {}) {
  static int number = 0;
  Bytes all = Head(body, 64u << 10);
  std::reverse(decisions.begin(), decisions.end());
  Append(all, decisions);
  Append(all, Le16(decisions.size()));
  std::ofstream out(g_root / target / ("seed-" + std::to_string(number++)), std::ios::binary);
  out.write(reinterpret_cast<const char*>(all.data()), static_cast<std::streamsize>(all.size()));
  if (!out) throw std::runtime_error("cannot write to " + (g_root / target).string());
}

void Host(const Bytes& file, const std::string& target = "host") {
  // Pulls some, describes, configures, seeks video and audio, takes key frames only, selects, looks for a key frame.
  const Bytes tour = {0, 0,  3, 6, 7, 1, 2, 1, 1, 0, 0, 80, 0, 2, 2,  2, 0, 0,
                      0, 40, 0, 1, 1, 0, 1, 3, 1, 4, 0, 5,  0, 0, 60, 0, 15};
  Seed(target, file);
  Seed(target, file, tour);
  Seed(target, file, {1, 0, 7, 7, 1});                  // streaming
  Seed(target, file, {0x40, 0, 20, 0, 1, 7, 1, 8, 1});  // a source that blocks once; small blocks
}

void Host(const AviBuilder& builder) { Host(builder.Build().bytes); }

Bytes Swapped(Bytes bytes) {
  for (size_t i = 0; i + 1 < bytes.size(); i += 2) std::swap(bytes[i], bytes[i + 1]);
  return bytes;
}
/// A header and bytes that are none, `size` in all.
Bytes Frame(Bytes header, size_t size) {
  header.resize(size, 0x22);
  return header;
}
Bytes Times(int count, const Bytes& frame) {
  Bytes all;
  for (int i = 0; i < count; ++i) Append(all, frame);
  return all;
}

const Bytes kMp3 = Frame({0xFF, 0xFB, 0x14, 0xC4}, 96);  // 32 kbit/s, 48 kHz
const Bytes kMp2 = Frame({0xFF, 0xFD, 0x14, 0xC4}, 96);
const Bytes kAc3 = Frame({0x0B, 0x77, 0, 0, 0x00, 0x40}, 128);
const Bytes kEac3 = Frame({0x0B, 0x77, 0x00, 0x3F, 0x3F, 0x80}, 128);
const Bytes kH264 = Join({Le32(0x05000000), "\x67spsx", Le32(0x04000000), "\x68pps", Le32(0x09000000), "\x65idr-pict"});
const Bytes kMpeg4 = Join({"\0\0\1\x20", Bytes{0, 0xC4, 0x8D, 0x88, 0, 0xCD, 0x14}, "\0\0\1\xB6\x10pict"});

AudioFormat Compressed(uint32_t tag) {
  return {.tag = tag, .rate = 48000, .bytesPerSecond = 4000, .blockAlign = 1, .bits = 0};
}

AviBuilder Frames(AviBuilder builder, int count, const Data& picture, const Data& sound) {
  for (int i = 0; i < count; ++i) builder.Chunk(0, picture, i % 4 == 0).Chunk(1, sound);
  return builder;
}

void Built() {
  using Formats = std::vector<std::pair<std::string, Data>>;
  const auto movie = [](const std::string& fourcc = "XVID") {
    return AviBuilder()
        .Main({.totalFrames = 12, .width = 320, .height = 240})
        .Video({.fourcc = fourcc}, {.length = 12});
  };
  const Bytes mp3 = Times(2, kMp3);
  Host(Frames(movie().Audio(Compressed(0x55)), 12, kMpeg4, mp3).OldIndex());
  Host(Frames(movie().Audio(), 12, "odd", Bytes(176)).OldIndex(Offsets::kToHeader));
  Host(Frames(movie().Audio(), 300, "", "s").OldIndex());
  Host(Frames(movie().Audio(Compressed(0x2000)), 6, "", Swapped(kAc3)).OldIndex(Offsets::kToData));
  Host(Frames(movie().Audio(Compressed(0x2000)), 6, kMpeg4, kEac3));
  Host(Frames(movie().Audio(Compressed(0x50)).Rec(), 6, "I", kMp2).EndRec().Rec().Chunk(0, "P", false).EndRec());
  Host(Frames(movie("H264").Audio(Compressed(0xFF)), 4, kH264, "aac").OldIndex());
  const Bytes split =
      Frames(movie("mpg2").Audio(Compressed(0x50)), 6, "half\0\0\1\0\x10\x08picture\0\0\1\0\x10\x10pi", kMp2)
          .IndexEntry("00dc", 0x10, 4, 0xFFFF0)
          .IndexEntry("00dc", 0x10, 4, 0xFFFF0)
          .OldIndex()
          .Build();
  Host(split);
  Seed("host", split, {0, 8, 2});  // into blocks of 1 MiB
  Host(Frames(movie().Audio(Compressed(0x55)), 8, kMpeg4, Join({"junk", kMp3})).IndexEntry("JUNK", 0, 4, 8).OldIndex());
  for (const auto& [fourcc, delta] : Formats{{"H263", "\0\0\x80\2\x1C\x80\0\x1C"},
                                             {"H263", "\0\0\x80\2\x1C\x70\0\0"},
                                             {"THEO", "@"},
                                             {"DX50", "\0\0\1\x20\x80\0\0\0\1\xB6\x50vop"},
                                             {"none", ""}}) {
    Host(movie(fourcc).Chunk(0, "I").Chunk(0, delta).Chunk(0, delta, false).OldIndex());
  }
  // Frames that lack what a decoder needs: parameter sets, the VOL header, and a VOP behind a damaged VOL header.
  Host(movie("H264")
           .Chunk(0, "\0\0\0\1\x67sps\0\0\0\1\x68pps\0\0\0\1\x65idr")
           .Chunk(0, "\0\0\0\1\x41p", false)
           .Chunk(0, "\0\0\0\1\x65idr")
           .OldIndex());
  Host(movie().Chunk(0, "\0\0\1\xB6\x10\x60pict").Chunk(0, "\0\0\1\xB6\x50pict", false).OldIndex());
  Host(movie("DX50").Chunk(0, "\0\0\1\x20\x80vol").Chunk(0, "\0\0\1\x20\x80vol").Chunk(0, "P", false).OldIndex());
  // PCM chunks of more than a block.
  Host(Frames(movie().Audio(), 3, "I", Bytes(20000, 3)).OldIndex().Build().bytes, "host-long");
  AudioFormat fast = Compressed(0x55);
  fast.bytesPerSecond = UINT32_MAX;  // times that fit no word end the process
  Host(Frames(movie().Audio(fast), 12, "I", mp3).OldIndex());
  Host(AviBuilder()
           .Video({.fourcc = "DXSB"})
           .InStream(Chunk("strn", "name"))
           .Video({.fourcc = "DX50", .extra = {'V', 'O', 'L'}})
           .Audio({.bits = 24})
           .BeforeMovi(Chunk("JUNK", Bytes(9)))
           .Chunk(0, "text")
           .Chunk(1, "")
           .Chunk(2, Bytes(100))
           .OldIndex());
  const auto groups = [](AviBuilder builder, bool field) {
    Frames(builder, 5, kMpeg4, "s").ChunkIndex(0, field).ChunkIndex(1);
    return Frames(builder.NextRiff(), 5, "I", "sound").ChunkIndex(0, field).ChunkIndex(1);
  };
  Host(groups(movie().Audio(), false));
  Host(groups(movie().Audio(Compressed(0x55), StreamHeader{.scale = 1152, .rate = 48000}), true));
  AviBuilder many;
  for (uint32_t tag : {0x01u, 0x02u, 0x06u, 0x07u, 0x11u, 0x50u, 0x55u, 0xFFu, 0x160u, 0x2000u, 0x2001u, 0xFFFEu}) {
    many.Audio({.tag = tag, .bits = 16, .extra = Bytes(22, 1)});
  }
  for (unsigned i = 0; i < 36; ++i) many.Chunk(i % 12, Bytes(i));
  Host(many.OldIndex());
}

/// Files whose every chunk disappoints, over and over: what one call may cost is tried on them.
void Costly() {
  const auto overlapping = [](AviBuilder builder, const std::string& id, const Bytes& chunk) {
    builder.RawChunk(id, chunk);
    const uint32_t size = static_cast<uint32_t>(chunk.size());
    for (int i = 0; i < 1200; ++i) builder.IndexEntry(id, 0x10, 4, size);
    Seed("host-long", builder.OldIndex().Build().bytes);
  };
  const Bytes nothing(30000, 0x11);
  for (const uint32_t tag : {0x55u, 0x50u, 0x2000u, 0x01u}) {
    overlapping(AviBuilder().Audio(Compressed(tag)), "00wb", nothing);
    overlapping(AviBuilder().Audio(Compressed(tag)), "00wb", Times(5000, {0xFF, 0xFB, 0x90, 0x00, 0x0B, 0x77}));
  }
  for (const std::string fourcc : {"H264", "mpg2", "DX50"}) {
    overlapping(AviBuilder().Video({.fourcc = fourcc}), "00dc", nothing);
    overlapping(AviBuilder().Video({.fourcc = fourcc}), "00dc", Join({"\0\0\1\x20\x80", Bytes(9000, 0x22)}));
  }
  const auto sounding = AviBuilder().Video().Audio(Compressed(0x2000));
  Seed("host-long", Frames(sounding, 1500, "", "").Build().bytes);
  Seed("host-long", Frames(sounding, 1200, "I", "").Build().bytes);
  AviBuilder lists = sounding;
  for (int i = 0; i < 1000; ++i) lists.InMovi(List("rec ", "", 0)).InMovi(Chunk("JUNK", "", 0));
  Seed("host-long", lists.Build().bytes);
}

void Framers() {
  // 2048 bytes, which fill a carry-over buffer so that the last frame ends four bytes in front of its end.
  const Bytes filling = Join({kAc3, Frame({0x0B, 0x77, 0, 0, 0x80, 0x40}, 192),
                              Times(6, Frame({0x0B, 0x77, 0, 0, 0x40, 0x40}, 138)), Times(7, kAc3), Bytes(4, 0x33)});
  Seed("framers", filling, {2, 1, 1, 4, 0xF0, 0, 1});
  for (const uint8_t flags : Bytes{0x00, 0x01, 0x02, 0x04, 0x08, 0xF0}) {
    for (const Bytes& cuts : {Bytes{}, Bytes{0, 100, 0, 60, 1, 0, 0, 96, 0, 7}}) {
      const Bytes rest = Join({Bytes{flags}, cuts});  // behind coding, rate, channels and bit rate
      Seed("framers", Times(8, kMp3), Join({Bytes{0, 1, 1, 4}, rest}));
      Seed("framers", Join({"junk", Times(8, kMp2)}), Join({Bytes{1, 1, 1, 4}, rest}));
      Seed("framers", Times(8, kAc3), Join({Bytes{2, 1, 1, 4}, rest}));
      Seed("framers", Times(8, Swapped(kEac3)), Join({Bytes{2, 1, 1, 4}, rest}));
      for (uint8_t coding = 3; coding < 8; ++coding) Seed("framers", Bytes(3000, 7), Join({Bytes{coding, 0, 1}, rest}));
    }
  }
}

uint32_t U32(const Bytes& bytes, size_t at) {
  return bytes[at] | uint32_t{bytes[at + 1]} << 8 | uint32_t{bytes[at + 2]} << 16 | uint32_t{bytes[at + 3]} << 24;
}

/// Chunks from `at` to `end` without the padding that lists are given for what may come later.
Bytes WithoutJunk(const AviFile& file, size_t at, size_t end) {
  Bytes kept;
  while (at + 8 <= end) {
    const std::string id(&file.bytes[at], &file.bytes[at] + 4);
    const size_t data = at + 8;
    const size_t size = std::min<size_t>(U32(file.bytes, at + 4), end - data);
    if (id == "LIST") {
      const std::string type(&file.bytes[data], &file.bytes[data] + 4);
      Append(kept, List(type, WithoutJunk(file, data + 4, data + size)));
    } else if (id != "JUNK") {
      Append(kept, Chunk(id, Bytes(&file.bytes[data], &file.bytes[data] + size)));
    }
    at = data + size + size % 2;
  }
  return kept;
}

/// The front of a sample, with so much of its "movi" and an index over that, or without any if it has none.
Bytes Shortened(const AviFile& sample, size_t mostMovi) {
  const Bytes& bytes = sample.bytes;
  const size_t movi = sample.Find("movi");
  const size_t end = std::min(movi + mostMovi, bytes.size());
  Bytes index;
  const std::string id = "idx1";
  const auto found = std::search(bytes.begin(), bytes.end(), id.begin(), id.end());
  if (found != bytes.end()) {
    for (size_t at = static_cast<size_t>(found - bytes.begin()) + 8; at + 16 <= bytes.size(); at += 16) {
      if (movi + U32(bytes, at + 8) < end) Append(index, Bytes(&bytes[at], &bytes[at] + 16));
    }
    index = Chunk("idx1", index);
  }
  const Bytes front = WithoutJunk(sample, 12, movi - 8);
  return Riff("AVI ", Join({front, List("movi", Bytes(&bytes[movi + 4], &bytes[0] + end)), index}));
}
}  // namespace

int main(int argc, char** argv) {  // NOLINT(bugprone-exception-escape): it is to end the program
  if (argc < 2) return std::cerr << "usage: make_corpus DIRECTORY SAMPLE...\n", 2;
  g_root = argv[1];
  for (const char* target : {"host", "host-long", "framers", "headers"}) fs::create_directories(g_root / target);
  Built();
  Costly();
  Framers();
  for (const Bytes& bytes : {kMp3, kMp2, kAc3, kEac3, kH264, kMpeg4, Strf(VideoFormat{}), Strf(AudioFormat{})}) {
    Seed("headers", bytes, Bytes(40, 8));
  }
  for (int i = 2; i < argc; ++i) {
    std::ifstream in(argv[i], std::ios::binary);
    AviFile sample;
    sample.bytes.assign(std::istreambuf_iterator<char>(in), {});
    Host(Shortened(sample, 2u << 10));
    Host(Shortened(sample, 24u << 10), "host-long");
  }
}
