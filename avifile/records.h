#ifndef ZU_AVIFILE_RECORDS_H_
#define ZU_AVIFILE_RECORDS_H_

#include <cstddef>
#include <cstdint>
#include <type_traits>

#include "zu_parser_avi/sample_index.h"

/// A chunk header as the file holds it. `dwType` is the form type of "RIFF" and "LIST", 0 for plain chunks; a strf node
/// keeps its stream's fccType there.
struct SRIFF {
  uint32_t dwFourCC;
  uint32_t dwSize;  ///< bytes of data, form type included
  uint32_t dwType;
};

/// One node of the chunk tree.
struct SRIFFNode {
  SRIFF sRiff;
  int64_t llOffset;   ///< file position of the data: behind the header, behind the form type of a list
  void* pData;        ///< what the chunk's handler kept, freed with the node; of "indx" the stream's, never freed here
  SRIFFNode* pNext;   ///< next sibling, owned
  SRIFFNode* pChild;  ///< first child, owned
  // Private.
  SRIFFNode* pNextOrphan;  // chain of nodes that found no place in the tree
};

/// The fixed part of "strh", 56 bytes in the file and here.
struct SAVIStreamHeader {
  uint32_t fccType;
  uint32_t fccHandler;
  uint32_t dwFlags;
  uint16_t wPriority;
  uint16_t wLanguage;
  uint32_t dwInitialFrames;
  uint32_t dwScale;  ///< dwRate / dwScale units per second
  uint32_t dwRate;
  uint32_t dwStart;
  uint32_t dwLength;  ///< units
  uint32_t dwSuggestedBufferSize;
  uint32_t dwQuality;
  uint32_t dwSampleSize;  ///< bytes, 0 when samples vary in size
  int16_t rcFrame[4];
};
static_assert(sizeof(SAVIStreamHeader) == 56);

/// One entry of a chunk index of sub-type standard, in the file.
struct SAVIStdIndexEntry {
  uint32_t dwOffset;  ///< from the index's qwBaseOffset
  uint32_t dwSize;    ///< bit 31 set: not a key frame
};
static_assert(sizeof(SAVIStdIndexEntry) == 8);

/// One entry of a chunk index of sub-type 2-field, in the file.
struct SAVIFieldIndexEntry {
  uint32_t dwOffset;
  uint32_t dwSize;
  uint32_t dwOffsetField2;
};
static_assert(sizeof(SAVIFieldIndexEntry) == 12);

constexpr uint32_t kNotKeyFrame = 0x80000000u;
constexpr uint32_t kChunkSizeMask = 0x7FFFFFFFu;
inline bool IsKeyFrame(const SIndexEntry& entry) { return (entry.dwSize & kNotKeyFrame) == 0; }
inline uint32_t ChunkSize(const SIndexEntry& entry) { return entry.dwSize & kChunkSizeMask; }

/// The `dwCurrOffset` of a stream that has no further chunk.
constexpr uint32_t kCursorAtEnd = 0xFFFFFFFFu;

/// What is known of one declared stream.
struct SAVIStream {
  uint32_t dwChunkId;         ///< FourCC of its data chunks; 0 until learned
  uint32_t nStreamType;       ///< STREAM_TYPE_...
  float fFramePerSec;         ///< may be infinite or not a number: the file's dwScale is not trusted
  SAVIStreamHeader* m_pStrh;  ///< freed with its node of the chunk tree
  uint8_t* m_pStrf;           ///< at least AVI_MIN_FORMAT bytes, zero-padded; freed with its node of the chunk tree
  SIndex* pIndex;             ///< owned
  uint32_t dwCurrIdx;         ///< next index entry; without an index, chunks read
  uint64_t dwCurrOffset;      ///< without an index: position of the next chunk header; 0 not located, 0xFFFFFFFF end
  uint64_t dwTotalBytes;      ///< delivered so far
  uint32_t dwChunkCount;      ///< delivered so far
  // Private.
  uint32_t m_nStrfSize;     // bytes of m_pStrf that the file declared
  struct SByteSums* pSums;  // owned; sampled sums over pIndex, made by the first seek that searches them
};
static_assert(std::is_trivial_v<SAVIStream>, "the stream table is one zeroed block");

/// Number of entries that can be read; 0 for a null stream, without an index, and when the index broke off.
inline uint32_t IndexCount(const SAVIStream* stream) {
  return stream && stream->pIndex && stream->pIndex->aIdx ? stream->pIndex->dwIdxNum : 0;
}
/// Entry `i`; null when there is none.
inline SIndexEntry* IndexEntry(const SAVIStream* stream, uint32_t i) {
  return i < IndexCount(stream) ? &stream->pIndex->aIdx[i] : nullptr;
}

/// A private copy of an audio stream's format.
struct SStrfData {
  uint32_t nSize;
  uint8_t* pData;  ///< owned
};

/// What `CAVIFileParser::GetMoviInfo` tells about one stream. Pointers belong to the parser.
struct SAVIInfo {
  uint32_t dwDuration;  ///< milliseconds, of the whole movie
  uint8_t bIndexed;
  uint8_t bHasAudio;
  uint32_t dwAudioType;
  uint32_t dwAudioBitRate;  ///< bit/s
  uint32_t dwChannels;
  uint32_t dwSampleRate;  ///< Hz
  uint32_t dwBitsPerSample;
  uint32_t dwBlockAlign;
  uint32_t dwExtraSize;
  const uint8_t* pExtraData;  ///< null when dwExtraSize is 0
  uint8_t bHasVideo;
  uint32_t dwVideoType;
  uint16_t wWidth;
  uint16_t wHeight;
  int32_t nFrameRate;
  uint32_t bSubtitle;
  uint32_t bSubtitleAlpha;
  const char* pSubtitleName;
};

#endif  // ZU_AVIFILE_RECORDS_H_
