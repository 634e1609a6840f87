#include <gtest/gtest.h>

#include "tests/support/host.h"
#include "tests/support/parsed_file.h"

namespace {

// The tree in one line: a list as its form type with its children in parentheses.
std::string Tree(const SRIFFNode* node) {
  std::string text;
  for (; node; node = node->pNext) {
    const bool list = node->sRiff.dwType && node->sRiff.dwFourCC != FourCC("strf");
    const Bytes name = Le32(list ? node->sRiff.dwType : node->sRiff.dwFourCC);
    text += std::string(text.empty() ? "" : " ") + std::string(name.begin(), name.end());
    if (node->pChild) text += "(" + Tree(node->pChild) + ")";
  }
  return text;
}

// Tree of a file whose hdrl has `raw` behind its avih; empty when it is refused.
std::string Walked(const Bytes& raw, const Bytes& behind = {}) {
  ParsedFile file(Riff("AVI ", Join({List("hdrl", Join({Chunk("avih", Avih({})), raw})), behind})));
  return file.result ? Tree(file->GetRootNode()) : "";
}

// What is logged about a file that is refused.
template <typename Source>
std::string Refused(Source&& source) {
  ParsedFile file(source);
  EXPECT_EQ(file.result, 0);
  return Logged(file.log);
}

AviBuilder OneStream() { return AviBuilder().Video().Chunk(0, "I0").Chunk(0, "P1", false).Chunk(0, "P2", false); }

TEST(ChunkWalk, BuildsTheTreeAndLeavesTheReaderWhereItWas) {
  AviBuilder movie = OneStream();
  movie.InStream(Join({Chunk("strd", "x"), Chunk("strn", "Cam")})).InHeader(List("odml", Chunk("dmlh", "12345")));
  movie.BeforeMovi(Join({List("INFO", ""), Chunk("JUNK", "123")})).OldIndex().NextRiff().Chunk(0, "P3", false);
  const AviFile built = movie.Build();
  ParsedFile file(Join({Bytes(20), built.bytes}));
  for (const uint8_t skipIndex : Bytes{0, 1, 2}) {  // only 1 means skip
    file.reader.AVI_fseek(20, 0);
    file.log.Clear();
    ASSERT_EQ(file->Parse(skipIndex), 1);
    EXPECT_EQ(Tree(file->GetRootNode()),
              "AVI (hdrl(avih strl(strh strf strd strn) odml(dmlh)) INFO JUNK movi idx1) AVIX(movi)");
    EXPECT_EQ(file.reader.AVI_ftell(), 20);
    EXPECT_EQ(file->GetIndexType(), skipIndex == 1 ? 0u : 1u);
    EXPECT_EQ(Logged(file.log), "W SKIP::ParseChunk() don't parse(dmlh)length(5)|");
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
    EXPECT_EQ(Refused(bytes), "");
  }
  EXPECT_NE(Refused(Head(whole, 90)), "");  // the stream that avih promises is missing
  for (const Bytes& bytes : {Head(whole, 11), Head(whole, whole.size() - 35), Join({whole, "RIFF\1\0\0\0AVI"})}) {
    EXPECT_EQ(ParsedFile(bytes).result, 1);
  }
  MemorySource source(whole);
  FaultySource faulty(source, {.first = 9, .status = -5});
  EXPECT_EQ(Refused(faulty), "E [AVI] Error -> ParseChild :: nRead(-5)|E [AVI] Error -> ParseChild :: nRet(0)|");
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
    ParsedFile file(Riff("AVI ", Join({junk, Chunk("badd", ""), "abc", ids.substr(at, 4)})), 5);
    const std::string found = at < 64 ? "V Found new FOURCC with next offset 3|" : "";
    EXPECT_EQ(Logged(file.log), "E ParseChunk ERROR - dwSize is 0... find next chunk dwSumOfSize 10|" + found);
  }
}

TEST(ChunkWalk, TheSearchReadsAtEveryPositionOnceWhateverFails) {
  MemorySource source(Riff("AVI ", List("abcd", Join({Chunk("badd", ""), "abc", Chunk("JUNK", Bytes(1200))}))));
  FaultySource faulty(source, {.first = 4, .last = 4, .most = 3});
  EXPECT_EQ(ParsedFile(faulty).result, 1);
  EXPECT_EQ(source.reads,
            (std::vector<ReadCall>{{0, 12}, {12, 12}, {24, 12}, {32, 12}, {33, 3}, {34, 12}, {35, 12}, {35, 12}}));
  source.reads.clear();
  faulty.Arm({.first = 5, .last = 6, .status = -5});
  ParsedFile file(faulty);
  EXPECT_EQ(file.result, 1);
  EXPECT_EQ(file.log.Count("[AVI] sRiff fread fail -> ParseChunk :: nRead(-5)"), 2u);
  EXPECT_EQ(source.reads.size(), 3u + 999);  // two of 1001 failed, one of them where JUNK begins
  EXPECT_EQ(source.reads.back(), (ReadCall{1032, 12}));
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
    EXPECT_EXIT(Walked(List("movi", "", size)), testing::KilledBySignal(SIGABRT), "");
  }

  for (const auto& [depth, result] : {std::pair{63, 1}, {65, 0}, {300, 0}}) {
    Bytes lists = junk;
    for (int i = 0; i < depth; ++i) lists = List("deep", lists);
    EXPECT_EQ(ParsedFile(Riff("AVI ", lists)).result, result) << depth;
  }
}

TEST(ChunkWalk, ASecondMainGroupIsNotParsed) {
  const Bytes first = OneStream().OldIndex().Build(), second = AviBuilder().Video().Audio().Chunk(0, "no").Build();
  // What a walk that goes on finds inside a second group belongs to no list, yet keeps its own siblings.
  const Bytes small = Riff("AVI ", Join({Chunk("JUNK", "12"), Chunk("avih", Avih({}))}));
  for (const auto& [more, lines] : {std::pair{second, ""},
                                    {Join({small, Bytes(100)}),
                                     "E ERROR! pParent->pChild, pNodePrev->pNext is not valid|"
                                     "E [AVI] Another RIFF AVI -> skip another RIFF|"}}) {
    ParsedFile file(Join({first, more}));
    EXPECT_EQ(file.result, 1);
    EXPECT_EQ(Tree(file->GetRootNode()), "AVI (hdrl(avih strl(strh strf)) movi idx1)");
    EXPECT_EQ(file.Index(0).size(), 3u);
    EXPECT_EQ(Logged(file.log).find(lines), 0u);
  }
}

std::vector<Unit> Frames(const AviFile& file, bool streaming = false) {
  MemorySource source(file);
  if (streaming) source.Stream();
  OpenedParser parser(&source);
  return DrainVideo(parser).units;
}

TEST(ChunkWalk, AMovieIsReadFromItsFirstGroupOnAndWithoutItsIndexWhenTruncated) {
  const std::vector<Unit> frames = {{"I0", 0}, {"P1", 40}, {"P2", 80}, {"P3++", 120}};
  AviFile file = OneStream().NextRiff().Chunk(0, "P3++", false).Build();
  EXPECT_EQ(Frames(file), frames);
  file = OneStream().ChunkIndex(0).Chunk(0, "P3++", false).Build();  // which the index does not know
  const size_t size = file.Find("movi") - 4;
  EXPECT_EQ(Frames(file.Put(size, Le32(file.bytes.size()))), std::vector<Unit>(frames.begin(), frames.end() - 1));
  EXPECT_EQ(Frames(file.Put(size, Le32(file.bytes.size() + 1))), frames);
}

TEST(ChunkWalk, TheFirstGroupEndsAStreamOfUnknownLength) {
  // Its size is taken as an end of data, so that its last 8 bytes stay unread.
  const AviFile file = OneStream().Chunk(0, "0123456789abcdef", false).NextRiff().Chunk(0, "P3", false).Build();
  LogCapture log;
  EXPECT_EQ(Frames(file, true), (std::vector<Unit>{{"I0", 0}, {"P1", 40}, {"P2", 80}, {"01234567", 120}}));
  EXPECT_EQ(Logged(log).find("I ParseChild : Streaming service contents-legth 0 case! dwFileSize=270|"), 0u);
}

}  // namespace
