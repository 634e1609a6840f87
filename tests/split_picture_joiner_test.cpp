// MPEG-1/2 video whose chunks are not pictures.
#include "tests/support/core_file.h"
#include "tests/support/host.h"
#include "tests/support/log_capture.h"

namespace {

constexpr char kSequence[] = "\0\0\1\xB3S", kPicture[] = "\0\0\1\0";

// Pictures of 8, 6, 5 and 8 bytes behind a sequence header, cut inside the first one and inside a start code.
AviFile FourPictures() {
  AviBuilder builder;
  builder.Video({.fourcc = "mpg1"}).Chunk(0, Join({kSequence, kPicture, "AB"})).Chunk(0, Data("CD\0\0"));
  builder.Chunk(0, Join({"\1\0EF", kPicture, "G"})).Chunk(0, Join({kPicture, "HIJK"}));
  return builder.OldIndex().Build();
}
const Unit kNone("", 0), kFirstTwo = Got(Join({kPicture, "ABCD", kPicture, "EF"})),
                         kLastTwo = Got(Join({kPicture, "G", kPicture, "HIJK"}));

TEST(SplitPictureJoiner, ChunksAreJoinedFromTheFirstPictureToTheLast) {
  LogCapture log;
  EXPECT_EQ(CoreFile(FourPictures()).Rest(0), (Units{kNone, kNone, kFirstTwo, kLastTwo}));
  EXPECT_EQ(log.Count("[GetNextData] Can't find EndPosition, StartPosition:5"), 2u);
  CoreFile small(FourPictures());  // the first two need 14 bytes and are lost, the others 13
  EXPECT_EQ((Units{small.Data(0, 13), small.Data(0, 13), small.Data(0, 13), small.Data(0, 13)}),
            (Units{kNone, kNone, NoMore(), kLastTwo}));
  for (size_t nth = 0; nth < 8; ++nth) {  // of four looks at chunks and four reads one is blocked
    CoreFile movie(FourPictures());
    movie.faulty.Arm(OnRead(nth, {.status = -11}));
    Units units = {movie.Data(0), movie.Data(0), movie.Data(0), movie.Data(0), movie.Data(0)};
    EXPECT_EQ(std::erase(units, Unit("", kKept, 11)), 1u) << nth;
    EXPECT_EQ(units, (Units{kNone, kNone, kFirstTwo, kLastTwo})) << nth;
  }
}

TEST(SplitPictureJoiner, EveryCutGivesTheSameBytes) {
  Bytes video = Join({kSequence});
  for (size_t i = 0; i < 20; ++i) Append(video, Join({kPicture, Bytes(i % 7, 0xAA), "\0\0\1\xB5"}));
  for (ptrdiff_t size = 1; size < 40; ++size) {
    AviBuilder builder;
    builder.Video({.fourcc = "MPG2"}).Chunk(0, "");
    for (auto at = video.begin(), end = at; at != video.end(); at = end) {
      builder.Chunk(0, Bytes(at, end += std::min(size, video.end() - at)));
    }
    CoreFile movie(builder.OldIndex().Build());
    Bytes joined = Join({kSequence});  // in front of the first picture, hence dropped
    for (const Unit& unit : movie.Rest(0)) Append(joined, unit.data);
    EXPECT_EQ(joined, video) << size;
  }
}

TEST(SplitPictureJoiner, ChunksThatAreAllPicturesAreLeftAlone) {
  for (const int examined : {10, 9}) {
    AviBuilder builder;
    builder.Video({.fourcc = "MPG2"}).Chunk(0, Join({kSequence, kPicture})).Chunk(0, "");
    for (int i = 2; i < examined; ++i) builder.Chunk(0, kPicture);
    CoreFile movie(builder.Chunk(0, "something else").Chunk(0, kPicture).OldIndex().Build());
    EXPECT_EQ(movie.Data(0), examined == 10 ? Got(Join({kSequence, kPicture})) : kNone) << examined;
    EXPECT_EQ(movie->IsSplitVideo(), examined != 10) << examined;
    const size_t reads = movie.source.reads.size();
    movie.Data(0);
    EXPECT_EQ(movie.source.reads.size(), reads + 1) << "looked at again";
  }
}

TEST(SplitPictureJoiner, TheBufferHoldsAMebibyte) {
  for (const size_t second : {448576u, 448577u}) {
    const Bytes first = Join({kPicture, Bytes(599996)});
    AviBuilder builder;
    builder.Video({.fourcc = "MPG2"}).Chunk(0, Join({"xx", Head(first, 599998)})).Chunk(0, "");
    builder.Chunk(0, Join({kPicture, Bytes(second - 4, 0xAA)})).Chunk(0, Bytes(1048577)).Chunk(0, kPicture);
    CoreFile movie(builder.Chunk(0, kPicture).OldIndex().Build());
    const Unit third = second == 448576 ? Got(Head(first, 599998)) : kNone;  // dropped for want of room
    EXPECT_EQ(movie.Rest(0, 2 << 20), (Units{kNone, kNone, third, kNone, kNone, Got(Join({kPicture, kPicture}))}))
        << second;
  }
}

// One picture for each letter, its type byte; a chunk goes on to the start code of the next one.
AviFile Pictures(const std::string& types) {
  AviBuilder builder;
  builder.Video({.fourcc = "MPG2"}).Chunk(0, Join({"x", kPicture}));
  for (const char& type : types) {
    builder.Chunk(0, Join({"#", std::string(1, type), "picture", &type == &types.back() ? Bytes() : Join({kPicture})}));
  }
  return builder.OldIndex().Build();
}
/// Type and frame time of each picture, a dot for an empty unit.
std::string Seen(Host& host, int calls) {
  std::string seen;
  for (Unit unit = kNone; calls > 0 && (unit = host.Video()).status == 0; --calls) {
    seen += unit.data.empty() ? "." : static_cast<char>(unit.data[5]) + std::to_string(unit.timeMs / 40) + " ";
  }
  return seen;
}

TEST(SplitPictureJoiner, AfterASeekPicturesWithoutAReferenceAreDropped) {
  Host host(Pictures("BPIBIBPBIP"));
  for (int again = 0; again < 2; ++again) {
    EXPECT_EQ(Seen(host, 20), "I3 ...P7 B8 I9 P10 ");  // stamped with the chunk that completed them
    EXPECT_EQ(host.Video(), End());
    host->Seek(0, AVI_TRACK_VIDEO, 0);
  }
  Host endless(Pictures(std::string(60, 'P')));
  EXPECT_EQ(Seen(endless, 2), "P51 P52 ");  // the search for an I picture ends after fifty more
}

}  // namespace
