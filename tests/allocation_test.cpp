#include <gtest/gtest.h>

#include <limits>
#include <memory>
#include <set>

#include "tests/support/heap_watch.h"
#include "tests/support/host.h"
#include "tests/support/log_capture.h"

// Every allocation of an open and of what follows, failing in turn.

namespace {

const std::set<int> kStatuses = {0, AVI_END_OF_STREAM, AVI_OUT_OF_MEMORY};

AviFile EveryKindOfTrack() {
  const Bytes picture = Join({Bytes{0, 0, 1, 0, 0, 0x08}, "picture"});
  return AviBuilder()
      .Video({.fourcc = "mpg2"}, {.length = 4})
      .Audio({.tag = 0x55, .rate = 44100, .bytesPerSecond = 16000, .blockAlign = 1, .bits = 0},
             StreamHeader{.type = "auds", .rate = 16000, .sampleSize = 1})
      .Audio({.tag = 0x2000, .rate = 48000, .bytesPerSecond = 24000, .blockAlign = 1, .bits = 0},
             StreamHeader{.type = "auds", .rate = 24000, .sampleSize = 1})
      .Audio()
      .Video({.fourcc = "DXSA"})
      .InStream(Chunk("strn", "Subtitle one"))
      .Chunk(0, picture)
      .Chunk(1, Bytes{0xFF, 0xFB, 0x90, 0})
      .Chunk(2, Bytes{0x0B, 0x77, 0, 0, 0, 0x40})
      .Chunk(3, Bytes(400, 7))
      .Chunk(0, "the rest of it")
      .Chunk(0, picture)
      .Chunk(4, "text")
      .OldIndex()
      .Build();
}

AviFile OpenDmlFile() {
  return AviBuilder()
      .Video()
      .Audio()
      .Chunk(0, "I0")
      .Chunk(1, Bytes(64, 1))
      .ChunkIndex(0)
      .ChunkIndex(1)
      .NextRiff()
      .Chunk(0, "I1")
      .ChunkIndex(0)
      .Build();
}

/// Opens, describes, configures, plays every track, seeks and closes. @return the allocations asked for.
long PlayWith(const AviFile& file, long failFirst, long failLast) {
  MemorySource source(file);
  HeapWatch::Fail(failFirst, failLast);
  std::unique_ptr<IParser, void (*)(IParser*)> parser(createParser(), destroyParser);
  if (parser) {
    const int open = parser->Open(&source);
    EXPECT_EQ(open, parser->GetTrackCount() > 0 ? 0 : -1);
    unsigned char config[64];
    unsigned long length = 0;
    parser->GetVideoConfig(config, &length, sizeof config);
    for (int track = 0; track < parser->GetTrackCount(); ++track) {
      parser->SelectAudioTrack(track);
      parser->GetAudioConfig(config, &length, sizeof config);
      parser->Seek(1, AVI_TRACK_AUDIO, 0);
      for (const uint32_t kind : {AVI_TRACK_VIDEO, AVI_TRACK_AUDIO, AVI_TRACK_TEXT}) {
        for (int calls = 0; calls < 10; ++calls) {
          const int status = Pull(parser.get(), kind).status;
          EXPECT_TRUE(kStatuses.contains(status)) << status << " of kind " << kind;
        }
      }
    }
    parser->Close();
  }
  parser.reset();
  return HeapWatch::StopFailing();
}

TEST(Allocation, EachOneMayFail) {
  const LogCapture silence("0");
  for (const AviFile& file : {EveryKindOfTrack(), OpenDmlFile()}) {
    const long live = HeapWatch::LiveBlocks();
    const long all = PlayWith(file, HeapWatch::kNever, HeapWatch::kNever);
    EXPECT_GT(all, 20);
    EXPECT_EQ(HeapWatch::LiveBlocks(), live);
    for (long n = 0; n < all; ++n) {
      PlayWith(file, n, n);
      PlayWith(file, n, std::numeric_limits<long>::max());
      ASSERT_EQ(HeapWatch::LiveBlocks(), live) << "blocks left behind when allocation " << n << " fails";
    }
  }
}

}  // namespace
