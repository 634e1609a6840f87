#include <gtest/gtest.h>

#include "base/bytes.h"
#include "tests/support/core_file.h"
#include "tests/support/host.h"
#include "tests/support/log_capture.h"

namespace {

// The tree in one line: a list as its form type with its children in parentheses.
std::string Tree(const SRIFFNode* node) {
  std::string text;
  for (; node; node = node->pNext) {
    const bool list = node->sRiff.dwType && node->sRiff.dwFourCC != FourCC("strf");
    const Bytes name = Le32(list ? node->sRiff.dwType : node->sRiff.dwFourCC);
    text += std::string(text.empty() ? "" : " ") + std::string(name.begin(), name.end());
    if (node->pChild) text.append("(").append(Tree(node->pChild)).append(")");
  }
  return text;
}

// Tree of a file whose hdrl has `raw` behind its avih; empty when it is refused.
std::string Walked(const Bytes& raw, const Bytes& behind = {}) {
  CoreFile file(Riff("AVI ", Join({List("hdrl", Join({Chunk("avih", Avih({})), raw})), behind})));
  return file.result ? Tree(file->GetRootNode()) : "";
}

// What is logged about a file that is refused.
std::string Refused(const Bytes& bytes, const Fault& fault = kNoFault) {
  LogCapture log;
  EXPECT_EQ(CoreFile(bytes, fault).result, 0);
  return log.Take();
}

AviBuilder OneStream() { return AviBuilder().Video().Chunk(0, "I0").Chunk(0, "P1", false).Chunk(0, "P2", false); }

TEST(ChunkWalk, BuildsTheTreeAndLeavesTheReaderWhereItWas) {
  AviBuilder movie = OneStream();
  movie.InStream(Join({Chunk("strd", "x"), Chunk("strn", "Cam")})).InHeader(List("odml", Chunk("dmlh", "12345")));
  movie.BeforeMovi(Join({List("INFO", ""), Chunk("JUNK", "123")})).OldIndex().NextRiff().Chunk(0, "P3", false);
  const AviFile built = movie.Build();
  LogCapture log;
  CoreFile file(Join({Bytes(20), built.bytes}));
  for (const uint8_t skipIndex : Bytes{0, 1, 2}) {  // only 1 means skip
    SCOPED_TRACE(skipIndex);
    file.reader.AVI_fseek(20, 0);
    log.Clear();
    ASSERT_EQ(file->Parse(skipIndex), 1);
    EXPECT_EQ(Tree(file->GetRootNode()),
              "AVI (hdrl(avih strl(strh strf strd strn) odml(dmlh)) INFO JUNK movi idx1) AVIX(movi)");
    EXPECT_EQ(file.reader.AVI_ftell(), 20);
    EXPECT_EQ(file->GetIndexType(), skipIndex == 1 ? 0u : 1u);
    EXPECT_EQ(log.Take(), "W SKIP::ParseChunk() don't parse(dmlh)length(5)|");
  }
  EXPECT_EQ(file->GetRootNode()->llOffset, 32);
  EXPECT_EQ(file->GetRootNode()->pChild->pNext->pNext->pNext->llOffset, static_cast<int64_t>(built.movi + 20));
}

TEST(ChunkWalk, TheStreamsHaveToBeAsManyAsDeclared) {
  EXPECT_EQ(Refused(AviBuilder().Main({.streams = 3}).Video().Video().Build()),
            "W Parse: the number of stream(2) doesn't match dwStreams(3) in avih|");
  EXPECT_EQ(Refused(AviBuilder().Main({.streams = 1}).Video().Video().Build()),
            "W ParseChunk : ERROR! m_iCurrStreamIdx(1), m_iStreamNum(1)|W ParseChunk : ERROR! m_iCurrStreamIdx(1), "
            "m_iStreamNum(1)|W ParseChild: the number of stream(2) doesn't match dwStreams(1) in avih|"
            "E [AVI] Error -> ParseChild :: nRet(0)|E [AVI] Error -> ParseChild :: nRet(0)|"
            "E [AVI] Error -> ParseChild :: nRet(0)|"
            "W Parse: the number of stream(2) doesn't match dwStreams(1) in avih|");
}

TEST(ChunkWalk, RefusesWhatDoesNotStartWithRiffAndEndsAtACutHeader) {
  const Bytes whole = OneStream().Build();
  for (const Bytes& bytes : {Bytes(), List("hdrl", Chunk("avih", Avih({}))), Join({Chunk("JUNK", "12"), whole})}) {
    EXPECT_EQ(Refused(bytes), "") << bytes.size();
  }
  EXPECT_NE(Refused(Head(whole, 90)), "");  // the stream that avih promises is missing
  for (const Bytes& bytes : {Head(whole, 11), Head(whole, whole.size() - 35), Join({whole, "RIFF\1\0\0\0AVI"})}) {
    EXPECT_EQ(CoreFile(bytes).result, 1) << bytes.size();
  }
  EXPECT_EQ(Refused(whole, {.first = 9, .status = -5}),
            "E [AVI] Error -> ParseChild :: nRead(-5)|E [AVI] Error -> ParseChild :: nRet(0)|");
}

TEST(ChunkWalk, ADamagedSizeIsFollowedByASearchByteByByte) {
  const Bytes junk = Chunk("JUNK", "12"), last = Chunk("strd", "1234");
  // The distance counts twice, so that the 12 bytes of the last chunk are still in the list or just beyond it.
  EXPECT_EQ(Walked(List("abcd", Join({Chunk("badd", ""), Bytes(11), junk, last}))), "AVI (hdrl(avih abcd(JUNK strd)))");
  EXPECT_EQ(Walked(List("abcd", Join({Chunk("badd", ""), Bytes(12), junk, last}))), "AVI (hdrl(avih abcd(JUNK)))");
  EXPECT_EQ(Walked(Join({Chunk("badd", ""), Bytes(1000), Chunk("JUNK", Bytes(2000))})), "AVI (hdrl(avih JUNK))");
  // Given up: only this list ends, the reader behind the 12 bytes of the last try.
  EXPECT_EQ(Walked(Join({List("abcd", Join({Chunk("badd", ""), Bytes(1001), "JUNK", Bytes(7)})), last})),
            "AVI (hdrl(avih abcd strd))");

  const std::string ids = "AVI rec RIFFJUNKLISTAVIXstrdstrfavihstrhmoviodmlhdrlstrlindxstrnidx100dcjunkISTA";
  for (size_t at = 0; at < ids.size(); at += 4) {
    LogCapture log("5");
    CoreFile file(Riff("AVI ", Join({junk, Chunk("badd", ""), "abc", ids.substr(at, 4)})));
    const std::string found = at < 64 ? "V Found new FOURCC with next offset 3|" : "";
    EXPECT_EQ(log.Take(), "E ParseChunk ERROR - dwSize is 0... find next chunk dwSumOfSize 10|" + found)
        << ids.substr(at, 4);
  }
}

TEST(ChunkWalk, TheSearchReadsAtEveryPositionOnceWhateverFails) {
  const Bytes file = Riff("AVI ", List("abcd", Join({Chunk("badd", ""), "abc", Chunk("JUNK", Bytes(1200))})));
  CoreFile shortRead(file, OnRead(4, {.most = 3}));
  EXPECT_EQ(shortRead.result, 1);
  EXPECT_EQ(shortRead.source.reads,
            (std::vector<ReadCall>{{0, 12}, {12, 12}, {24, 12}, {32, 12}, {33, 3}, {34, 12}, {35, 12}, {35, 12}}));
  LogCapture log;
  CoreFile failed(file, {.first = 5, .last = 6, .status = -5});
  EXPECT_EQ(failed.result, 1);
  EXPECT_EQ(log.Count("[AVI] sRiff fread fail -> ParseChunk :: nRead(-5)"), 2u);
  EXPECT_EQ(failed.source.reads.size(), 3u + 999);  // two of 1001 failed, one of them where JUNK begins
  EXPECT_EQ(failed.source.reads.back(), (ReadCall{1032, 12}));
}

TEST(ChunkWalk, ListsOfOddSizesAreTakenAsTheyCome) {
  const Bytes junk = Chunk("JUNK", "12"), last = Chunk("strd", "1234");
  EXPECT_EQ(Walked(Join({List("abcd", Join({"LIST", Bytes(4), junk})), last})), "AVI (hdrl(avih abcd(JUNK) strd))");
  EXPECT_EQ(Walked(Join({"LIST", Le32(3), "abcd", junk, last})), "AVI (hdrl(avih abcd JUNK strd))");
  // Only the sum counts a list's pad byte.
  EXPECT_EQ(Walked(Join({"LIST", Le32(15), "abcdJUNK", Le32(3), "123", Bytes(1), last})),
            "AVI (hdrl(avih abcd(JUNK) strd))");
  EXPECT_EQ(Walked({}, Join({"LIST", Le32(7), "moviabc", junk, Bytes(3)})), "AVI (hdrl(avih) movi JUNK)");
  EXPECT_EQ(Walked({}, List("movi", "")), "AVI (hdrl(avih) movi)");
  for (const uint32_t size : {1u, 3u}) {
    EXPECT_EXIT(Walked(List("movi", "", size)), testing::KilledBySignal(SIGABRT), "") << size;
  }
}

TEST(ChunkWalk, ASecondMainGroupIsNotParsed) {
  const Bytes first = OneStream().OldIndex().Build(), second = AviBuilder().Video().Audio().Chunk(0, "no").Build();
  // What a walk that goes on finds inside a second group belongs to no list, yet keeps its own siblings.
  const Bytes small = Riff("AVI ", Join({Chunk("JUNK", "12"), Chunk("avih", Avih({}))}));
  const struct {
    const char* name;
    Bytes more;
    std::string log;
  } kRows[] = {{.name = "a whole movie", .more = second, .log = ""},
               {.name = "a broken one",
                .more = Join({small, Bytes(100)}),
                .log = "E ERROR! pParent->pChild, pNodePrev->pNext is not valid|"
                       "E [AVI] Another RIFF AVI -> skip another RIFF|"
                       "E ParseChunk ERROR - dwSize is 0... find next chunk dwSumOfSize 470|"}};
  for (const auto& row : kRows) {
    SCOPED_TRACE(row.name);
    LogCapture log;
    CoreFile file(Join({first, row.more}));
    EXPECT_EQ(file.result, 1);
    EXPECT_EQ(Tree(file->GetRootNode()), "AVI (hdrl(avih strl(strh strf)) movi idx1)");
    EXPECT_EQ(file.Index(0).size(), 3u);
    EXPECT_EQ(log.Take(), row.log);
  }
}

Units Frames(const AviFile& file, bool streaming = false) {
  SparseSource source(file);
  if (streaming) source.Stream();
  return Host(source).Rest(AVI_TRACK_VIDEO);
}

TEST(ChunkWalk, AMovieIsReadFromItsFirstGroupOnAndWithoutItsIndexWhenTruncated) {
  const Units frames = {{"I0", 0}, {"P1", 40}, {"P2", 80}, {"P3++", 120}};
  AviFile file = OneStream().NextRiff().Chunk(0, "P3++", false).Build();
  EXPECT_EQ(Frames(file), frames);
  file = OneStream().ChunkIndex(0).Chunk(0, "P3++", false).Build();  // which the index does not know
  const size_t size = file.Find("movi") - 4;
  EXPECT_EQ(Frames(file.Put(size, Le32(file.bytes.size()))), Units(frames.begin(), frames.end() - 1));
  EXPECT_EQ(Frames(file.Put(size, Le32(file.bytes.size() + 1))), frames);
}

TEST(ChunkWalk, TheFirstGroupEndsAStreamOfUnknownLength) {
  // Its size is taken as an end of data, so that its last 8 bytes stay unread.
  const AviFile file = OneStream().Chunk(0, "0123456789abcdef", false).NextRiff().Chunk(0, "P3", false).Build();
  LogCapture log;
  EXPECT_EQ(Frames(file, true), (Units{{"I0", 0}, {"P1", 40}, {"P2", 80}, {"01234567", 120}}));
  EXPECT_TRUE(log.Has(ANDROID_LOG_INFO, "AVIFileParser",
                      "ParseChild : Streaming service contents-legth 0 case! dwFileSize=270"));
}

}  // namespace
