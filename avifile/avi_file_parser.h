#ifndef ZU_AVIFILE_AVI_FILE_PARSER_H_
#define ZU_AVIFILE_AVI_FILE_PARSER_H_

#include <array>
#include <cstdint>

#include "avifile/records.h"
#include "base/bytes.h"
#include "base/c_heap.h"
#include "base/limits.h"
#include "source/source_reader.h"
#include "zu_parser_avi/status.h"
#include "zu_parser_avi/stream_types.h"

/// Understands one AVI file: its chunk tree, headers, formats and indexes, and reads and positions its streams.
/// Operations that parse return 1 to go on and 0 to give up; operations that read return AVI_... statuses.
/// Stream numbers count from 0 in file order. Each group of operations lives in the file named beside it.
class CAVIFileParser {
 public:
  CAVIFileParser() = default;
  CAVIFileParser(const CAVIFileParser&) = delete;
  CAVIFileParser& operator=(const CAVIFileParser&) = delete;
  virtual ~CAVIFileParser();

  // --- chunk_tree.cpp: life of the parse results ---

  /// Drops everything parsed and binds a reader, which the caller owns and keeps until Destroy. @return 1
  int Init(AVISourceReader* reader);
  /// Frees the tree and all per-stream data. @return 1
  int Destroy();

  // --- chunk_walk.cpp ---

  /// Walks the file from the reader's position. @param bSkipIndex 1 leaves indexes unparsed.
  /// @return 1, the reader back where it was; 0 when the file is refused.
  int Parse(unsigned char bSkipIndex);
  int ParseAVI(unsigned char bSkipIndex) { return Parse(bSkipIndex); }
  /// Walks `length` bytes of children of `parent` (null: the file) from the reader's position.
  int ParseChild(SRIFFNode* parent, long start, long length, unsigned char bSkipIndex);

  // --- chunk_dispatch.cpp ---

  /// Hands the chunk of `node`, `size` bytes of data at `offset`, to its handler.
  /// @return 1 when it was consumed or deliberately skipped, 0 when the walk has to step over it.
  int ParseChunk(SRIFFNode* node, long offset, unsigned int size, unsigned char bSkipIndex);

  // --- main_header.cpp, stream_header.cpp, stream_format.cpp: one handler per chunk, the reader at its data ---

  int ParseChunkAviHdr(SRIFFNode* node, unsigned int size);
  int ParseChunkStrHdr(SRIFFNode* node, unsigned int size);
  int ParseChunkStrFmt(SRIFFNode* node, unsigned int size);
  /// Keeps a stream's name as `node`'s data, zero-terminated. @return 0, AVI_IO_ERROR or AVI_OUT_OF_MEMORY
  int parseStreamName(SRIFFNode* node, unsigned int size);
  int GetStreamNum() const { return m_iStreamNum; }
  /// STREAM_TYPE_INVALID for a stream number out of range.
  uint32_t GetStreamType(int stream) const;

  // --- old_index.cpp, open_dml_index.cpp ---

  int ParseChunkOldIdx(unsigned int offset, unsigned int size);
  /// Adds the entries of an index chunk to `pIndex`, or to a new record when that is null.
  /// @return the record, the caller's again; null when there is none, `pIndex` having been freed.
  SIndex* ParseChunkNewIdx(long offset, unsigned int size, SIndex* pIndex);

  // --- audio_config.cpp, video_config.cpp: decoder configuration ---
  // They write at most `capacity` bytes to `buffer` and store the full size in `length`. @return 1, or 0 without one.

  unsigned char GetAudioSpecificInfo(int stream, uint8_t* buffer, uint32_t* length, uint32_t capacity = UINT32_MAX);
  unsigned char GetVideoSpecificInfo(int stream, uint8_t* buffer, uint32_t* length, uint32_t capacity = UINT32_MAX);
  /// H.264 only: what lies in front of the first IDR slice. `buffer` needs AVI_CONFIG_SCRATCH bytes at most.
  unsigned char GetCodecSpecificInfo(int stream, uint8_t* buffer, uint32_t* length,
                                     uint32_t capacity = AVI_CONFIG_SCRATCH);

  // --- chunk_scan.cpp: finding chunks without an index ---

  /// Position of the header of the stream's first chunk. A target that is not 0 stays as it is; 0xFFFFFFFF: none.
  int FindFirstData(int stream, unsigned int* pOffset);
  /// The same by stream number alone; 0: none.
  int FindFirstTrackData(int stream, long* pOffset);
  /// Position of the header of the stream's next chunk after the one at the cursor, or a negative or AVI_EAGAIN status.
  long FindNextData(int stream);

  // --- chunk_read.cpp, split_mpeg.cpp, audio_read.cpp, video_read.cpp: one chunk into the caller's memory ---
  // `buf` has `nBufLen` bytes; `piRead` [out] bytes written; `piTimeStamp` [out] milliseconds, 0xFFFFFFFF at the end.
  // @return AVI_OK; AVI_EAGAIN: the source would block, nothing moved; AVI_ERROR: the end, or a chunk above `nBufLen`
  // (the cursor stays on it); AVI_IO_ERROR, AVI_TOO_MANY_EMPTY_CHUNKS, AVI_OUT_OF_MEMORY.

  /// The core read; leaves the time alone but at the end and for split pictures.
  int GetNextData(int stream, char* buf, unsigned int nBufLen, unsigned int* piRead, unsigned int* piTimeStamp);
  int GetFirstAudioData(int stream, char* buf, unsigned int nBufLen, unsigned int* piRead, unsigned int* piTimeStamp);
  int GetNextAudioData(int stream, char* buf, unsigned int nBufLen, unsigned int* piRead, unsigned int* piTimeStamp);
  int GetNextTextData(int stream, char* buf, unsigned int nBufLen, unsigned int* piRead, unsigned int* piTimeStamp);
  /// The first read after open or a seek: a key frame whatever `keyOnly` says; `*piRead` 0 when it is none after all.
  int GetFirstVideoData(int stream, char* buf, unsigned int nBufLen, unsigned int* piRead, bool keyOnly,
                        unsigned int* piTimeStamp);
  int GetNextVideoData(int stream, char* buf, unsigned int nBufLen, unsigned int* piRead, bool keyOnly,
                       unsigned int* piTimeStamp);

  // --- movie_info.cpp ---

  /// Describes one stream. @return 1, also when an unsupported stream leaves `pInfo` as it was; 0: nothing was parsed.
  int GetMoviInfo(SAVIInfo* pInfo, int stream);

  // --- seek.cpp ---

  /// Positions the streams of one kind at `dwTime` ms. @param pdwStartTime [out, may be null] time reached.
  /// @param nTrackType 1 video, 2 audio, 3 text. @return 0; AVI_ERROR: without an index only time 0 can be reached.
  int SetStartTime(unsigned int dwTime, unsigned int* pdwStartTime, unsigned char bSeekForward, int nTrackType,
                   int nSeekMode);
  /// Positions all streams, audio at the time that video reached.
  int SetStartTime(unsigned int dwTime, unsigned int* pdwStartTime, unsigned char bSeekForward);
  /// @param nSeekMode 0 the key frame at or before `dwTime`; 2 and 3 the nearer one; else the one at or after it.
  unsigned int SeekVideoKeyFrame(unsigned int dwTime, int stream, int nSeekMode, unsigned char bSeekForward);
  unsigned int getNextKeyFrameTime(unsigned int dwTime);

  // --- mp3_align.cpp, eac3_probe.cpp, mpeg_audio_header.cpp ---

  /// Moves the stream's cursor to a Layer III frame sync.
  int FindFirstDataMP3(int stream);
  /// @return 1 E-AC-3, 0 AC-3, negative when the first chunk does not tell.
  int CheckIsEAC3(int stream);
  /// Decodes an MPEG audio frame header (ISO/IEC 11172-3, 13818-3 and the MPEG-2.5 extension), first byte most
  /// significant. Outputs are in bytes, Hz, channels, kbit/s and samples; all but `frameSize` may be null.
  /// @return false, the outputs cleared, for a reserved value or free format.
  static bool GetMPEGAudioFrameSize(unsigned int header, int* frameSize, int* sampleRate = nullptr,
                                    int* channels = nullptr, int* bitrateKbps = nullptr,
                                    int* samplesPerFrame = nullptr);

  // --- What the front end and the tools look at ---

  uint32_t GetIndexType() const { return m_iIndexType; }
  bool IsSplitVideo() const { return m_bSplitVideo; }
  bool HasJunkInIndex() const { return m_bIdxJunk; }
  bool IsVBR(int stream) const {
    return stream >= 0 && stream < AVI_VBR_STREAMS && m_abVBR[static_cast<size_t>(stream)];
  }
  uint32_t LastMp3FrameSize() const { return m_dwMp3FrameSize; }
  /// The bit rate of an audio frame just found, in bit/s; it serves the time of one read.
  void SetAC3BitRate(uint32_t bitsPerSecond) { m_dwAC3BitRate = bitsPerSecond; }
  const SRIFFNode* GetRootNode() const { return m_pRootNode; }
  /// The stream's record; null for a stream number out of range and before the main header.
  const SAVIStream* GetStream(int stream) const { return Stream(stream); }
  /// Milliseconds at which the readers would stamp entry `index`, behind entries of `bytesBefore` bytes.
  uint32_t EntryTime(int stream, uint32_t index, uint64_t bytesBefore) const;

 private:
  // The one answer to whether a stream number is usable.
  SAVIStream* Stream(int stream) const {
    return m_aStream && stream >= 0 && stream < m_iStreamNum ? &m_aStream[stream] : nullptr;
  }
  /// Streams with a record; a file may declare any number.
  int StreamCount() const { return m_aStream ? m_iStreamNum : 0; }
  void SetVBR(int stream) {
    if (stream >= 0 && stream < AVI_VBR_STREAMS) m_abVBR[static_cast<size_t>(stream)] = 1;
  }
  bool IsIndexed() const { return m_iIndexType != IDXTYPE_NONE; }
  /// Bytes of the file from `offset` on; `unknown` when its length is not known.
  uint64_t RestOfFile(uint64_t offset, uint64_t unknown) const;

  // chunk_tree.cpp
  SRIFFNode* NewSRIFFNode(const SRIFF& riff);
  static void DeleteSRIFFNode(SRIFFNode* node);
  void Orphan(SRIFFNode* node);
  void FreeStreams();

  // chunk_walk.cpp
  enum class EStep { kNext, kLink, kDone, kFail };
  EStep WalkList(const SRIFF& riff, bool openEnded, unsigned char bSkipIndex, SRIFFNode** node, int64_t* sum);
  EStep WalkChunk(const SRIFF& riff, unsigned char bSkipIndex, SRIFFNode** node, int64_t* sum);
  void EnterMovi(SRIFFNode* node);
  EStep Resynchronise(int64_t* sum);
  bool Link(SRIFFNode* parent, SRIFFNode* prev, SRIFFNode* node);

  // chunk_dispatch.cpp: the handlers behind the table, all of one shape
  struct SChunkHandler;
  void HandleMainHeader(SRIFFNode* node, long /*offset*/, unsigned int size) { ParseChunkAviHdr(node, size); }
  void HandleStreamHeader(SRIFFNode* node, long /*offset*/, unsigned int size) { ParseChunkStrHdr(node, size); }
  void HandleStreamFormat(SRIFFNode* node, long /*offset*/, unsigned int size) { ParseChunkStrFmt(node, size); }
  void HandleRawChunk(SRIFFNode* node, long offset, unsigned int size);
  void HandleOldIndex(SRIFFNode* node, long offset, unsigned int size);
  void HandleNewIndex(SRIFFNode* node, long offset, unsigned int size);
  void HandleJunk(SRIFFNode* /*node*/, long /*offset*/, unsigned int /*size*/) {}

  // stream_format.cpp
  int ParseAudioFormat(SRIFFNode* node, unsigned int size, SAVIStream* stream);
  int ParseVideoFormat(SRIFFNode* node, unsigned int size, SAVIStream* stream);
  bool KeepAudioFormat(const SAVIStream* stream);

  // old_index.cpp
  struct OldIndexTable;
  bool AllocOldIndex(uint64_t capacity, OldIndexTable* table);
  bool ReadOldIndexPass(unsigned int offset, unsigned int entries, OldIndexTable* table);
  void AddOldIndexBlock(const uint8_t* block, uint32_t count, OldIndexTable* table);
  void FinishOldIndexPass(OldIndexTable* table);
  void AbandonOldIndex(int pass);
  void FreeIndexes();

  // open_dml_index.cpp
  struct NewIndexHeader;
  enum class ENewIndex { kKept, kLost, kNoMemory };
  bool ReadNewIndex(long offset, unsigned int size, int level, SIndex** index);
  ENewIndex ReadChunkIndex(const NewIndexHeader& header, long offset, SIndex** index);
  ENewIndex AddEntries(const NewIndexHeader& header, ByteSpan table, SIndex** index);
  ENewIndex ReadSuperIndex(const NewIndexHeader& header, long offset, int level, SIndex** index);
  ENewIndex ReadChunkIndexes(ByteSpan table, uint64_t fileLength, int level, SIndex** index);
  void SetPlayTime(ByteSpan superTable);
  MallocPtr<uint8_t> AllocIndexTable(const NewIndexHeader& header, long offset);

  // video_config.cpp
  unsigned char ConfigFromFirstFrame(const SAVIStream* stream, uint8_t* buffer, uint32_t* length, uint32_t capacity);

  // chunk_scan.cpp
  int ReadScanHeader(SRIFF* riff);
  void LearnChunkId(const SRIFF& riff);
  void SkipScannedChunk(const SRIFF& riff);
  int PlaceCursor(int stream, SAVIStream* record);

  // chunk_read.cpp
  int ReadPayload(void* buf, uint32_t size);
  static int FailedRead(int nRead, unsigned int* piRead);
  static int EndOfData(unsigned int* piRead, unsigned int* piTimeStamp);
  int ReadIndexed(int stream, SAVIStream* record, char* buf, unsigned int nBufLen, unsigned int* piRead,
                  unsigned int* piTimeStamp);
  int ReadScanned(int stream, SAVIStream* record, char* buf, unsigned int nBufLen, unsigned int* piRead,
                  unsigned int* piTimeStamp);
  void ExamineMp3Chunk(int stream, const SAVIStream* record, ByteSpan chunk);
  static int EmptyRead(uint32_t chunkSize, const unsigned int* piRead, unsigned int* piTimeStamp);

  // split_mpeg.cpp
  int CheckSplitVideo(const SAVIStream* record, unsigned int* piRead);
  int ReadSplit(SAVIStream* record, const SIndexEntry& entry, char* buf, unsigned int nBufLen, unsigned int* piRead,
                unsigned int* piTimeStamp);
  int32_t FindLastPicture();
  void DropSplitFront(uint32_t count);

  // audio_read.cpp
  bool IsTimedByIndex(int stream, const SAVIStream* record) const;
  uint32_t AudioTime(int stream, uint32_t index, uint64_t bytesBefore, uint32_t ac3BitRate) const;

  // video_read.cpp
  static void SkipToKeyFrame(SAVIStream* record);
  static uint32_t VideoTime(const SAVIStream* record, uint32_t index);
  bool MayHaveDamagedVol(const SAVIStream* record) const;

  // seek.cpp
  void SeekAudioStream(int stream, SAVIStream* record, uint32_t dwTime);
  void SeekVideoStream(int stream, SAVIStream* record, uint32_t dwTime, unsigned char bSeekForward, int nSeekMode,
                       uint32_t* time);
  bool SeekAllAudioStream(SAVIStream* record, uint32_t time, uint64_t* bytes);
  uint32_t FindAllCbrIndex(SAVIStream* record, uint32_t time, uint64_t* bytes);
  void SeekAllVideoStream(SAVIStream* record, unsigned char bSeekForward, uint32_t* time);
  void MoveAllToEnd();
  int SeekWithoutIndex(uint32_t dwTime, unsigned int* pdwStartTime);

  // mp3_align.cpp, eac3_probe.cpp
  int AlignIndexed(SAVIStream* record);
  int AlignScanned(int stream, SAVIStream* record);
  int FindSyncInChunk(uint32_t chunkSize, uint64_t offset, ptrdiff_t* sync);
  int SeekToAc3Sync(uint32_t chunkId, uint32_t chunkSize);

  enum : uint32_t { IDXTYPE_NONE = 0, IDXTYPE_OLD = 1, IDXTYPE_NEW = 2 };

  AVISourceReader* m_pReader = nullptr;  // not owned

  // The tree.
  int64_t m_llFileSize = 0;
  SRIFFNode* m_pRootNode = nullptr;  // owned
  SRIFFNode* m_pOrphans = nullptr;   // owned: nodes without a place in the tree, into which streams may point
  SRIFFNode* m_pMovi = nullptr;      // in the tree or an orphan
  SRIFFNode* m_pMoviX = nullptr;
  uint32_t m_nNodes = 0;
  int m_nListDepth = 0;

  // The streams.
  int m_iStreamNum = 0;  // as declared; m_aStream is null when it is impossible
  int m_iCurrStreamIdx = -1;
  SAVIStream* m_aStream = nullptr;  // owned
  SStrfData* m_StrfData = nullptr;  // owned
  std::array<uint8_t, AVI_VBR_STREAMS> m_abVBR{};
  uint32_t m_iIndexType = IDXTYPE_NONE;
  bool m_bNewIdxFailed = false;
  bool m_bOldIndexKept = false;    // the streams hold records of a legacy index, whatever m_iIndexType says
  uint64_t m_nIndexReadBytes = 0;  // of OpenDML tables, since the walk began
  bool m_bIdxJunk = false;

  // The movie.
  uint32_t dwPlayTime = 0;  // milliseconds
  uint32_t m_dwMicroSecPerFrame = 0;
  bool m_bHasAudio = false;
  bool m_bHasVideo = false;
  int m_nVideoFrameRate = 0;
  uint32_t m_nVideoType = 0;
  uint8_t* m_pVideoStrf = nullptr;  // owned
  uint32_t m_nVideoStrfSize = 0;
  uint8_t m_bSubtitle = 0;
  uint8_t m_bAlphaSubtitle = 0;
  const char* m_pSubtitleName = nullptr;  // the data of a strn node

  // Reading.
  bool m_bSplitChecked = false;
  bool m_bSplitVideo = false;
  uint8_t* m_pSplitBuf = nullptr;  // owned, AVI_SPLIT_BYTES
  uint32_t m_nSplitBufLen = 0;
  uint32_t m_nSplitScanned = 0;  // bytes already searched for picture starts
  int32_t m_nSplitStart = -1;    // first picture start in the buffer
  uint32_t m_dwMp3FrameSize = 0;
  uint32_t m_dwMp3BitRate = 0;
  uint32_t m_dwAC3BitRate = 0;
};

#endif  // ZU_AVIFILE_AVI_FILE_PARSER_H_
