#include <gtest/gtest.h>

#include <limits>
#include <memory>
#include <set>

#include "tests/support/elementary.h"
#include "tests/support/heap_watch.h"
#include "tests/support/log_capture.h"

// Every allocation of an open and of what follows, failing in turn.

namespace {

const std::set<int> kStatuses = {0, AVI_END_OF_STREAM, AVI_OUT_OF_MEMORY};

AviFile EveryKindOfTrack() {
  const Bytes picture = Join({Bytes{0, 0, 1, 0, 0, 0x08}, "picture"});
  AviBuilder builder;
  builder.Video({.fourcc = "mpg2"}, {.length = 4});
  builder.Audio(Coded(0x55, 44100, 16000)).Audio(Coded(0x2000, 48000, 24000)).Audio();
  builder.Video({.fourcc = "DXSA"}).InStream(Chunk("strn", "Subtitle one"));
  builder.Chunk(0, picture).Chunk(1, Bytes{0xFF, 0xFB, 0x90, 0}).Chunk(2, Bytes{0x0B, 0x77, 0, 0, 0, 0x40});
  builder.Chunk(3, Bytes(400, 7)).Chunk(0, "the rest of it").Chunk(0, picture).Chunk(4, "text");
  return builder.OldIndex().Build();
}

AviFile OpenDmlFile() {
  AviBuilder builder;
  builder.Video().Audio().Chunk(0, "I0").Chunk(1, Bytes(64, 1)).ChunkIndex(0).ChunkIndex(1);
  return builder.NextRiff().Chunk(0, "I1").ChunkIndex(0).Build();
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
