#ifndef ZU_AVIFILE_AVI_FILE_PARSER_H_
#define ZU_AVIFILE_AVI_FILE_PARSER_H_

#include <cstdint>
#include <optional>

#include "avifile/audio_reader.h"
#include "avifile/chunk_reader.h"
#include "avifile/chunk_scanner.h"
#include "avifile/config_reader.h"
#include "avifile/file_view.h"
#include "avifile/movie.h"
#include "avifile/seeker.h"
#include "avifile/video_reader.h"
#include "base/limits.h"
#include "zu_parser_avi/status.h"
#include "zu_parser_avi/stream_types.h"

/// The container parser's door: the life of one open file, and a line for each operation, which the objects behind it
/// carry out. Owns those objects and what they own; the reader is the caller's and stays until Destroy.
/// Operations that parse return 1 to go on and 0 to give up; operations that read return AVI_... statuses.
/// Stream numbers count from 0 in file order. Before Init and after Destroy there are no streams.
class CAVIFileParser {
 public:
  CAVIFileParser() { Destroy(); }
  CAVIFileParser(const CAVIFileParser&) = delete;
  CAVIFileParser& operator=(const CAVIFileParser&) = delete;
  virtual ~CAVIFileParser() = default;

  /// Drops everything parsed and binds a reader. @return 1
  int Init(AVISourceReader* reader);
  /// Drops everything parsed. @return 1
  int Destroy() { return Init(nullptr); }
  /// Walks the file from the position of the reader that Init bound, everything found before dropped. @param bSkipIndex
  /// 1 leaves indexes unparsed.
  /// @return 1, the reader back where it was; 0 when the file is refused. What was found stays until Destroy.
  int Parse(unsigned char bSkipIndex);
  int ParseAVI(unsigned char bSkipIndex) { return Parse(bSkipIndex); }

  // --- What was found ---

  int GetStreamNum() const { return m_Open->movie.streams.DeclaredCount(); }
  /// STREAM_TYPE_INVALID for a stream number out of range.
  uint32_t GetStreamType(int stream) const { return m_Open->movie.streams.GetStreamType(stream); }
  uint32_t GetIndexType() const { return m_Open->movie.m_iIndexType; }
  bool HasJunkInIndex() const { return m_Open->movie.m_bIdxJunk; }
  bool IsVBR(int stream) const { return m_Open->movie.streams.IsVBR(stream); }
  bool IsSplitVideo() const { return m_Open->chunks.IsSplitVideo(); }
  uint32_t LastMp3FrameSize() const { return m_Open->chunks.LastMp3FrameSize(); }
  const SRIFFNode* GetRootNode() const { return m_Open->movie.tree.Root(); }
  /// The stream's record; null for a stream number out of range and before the main header.
  const SAVIStream* GetStream(int stream) const { return m_Open->movie.streams.At(stream); }
  /// Milliseconds at which the readers would stamp entry `index`, behind entries of `bytesBefore` bytes.
  uint32_t EntryTime(int stream, uint32_t index, uint64_t bytesBefore) const;
  /// Bytes of the chunk that comes next, as the index states them; 0 where it has no entry.
  uint32_t NextChunkSize(int stream) const {
    const SAVIStream* record = GetStream(stream);
    const SIndexEntry* next = record ? IndexEntry(record, record->dwCurrIdx) : nullptr;
    return next ? ChunkSize(*next) : 0;
  }
  /// As ::GetMoviInfo.
  int GetMoviInfo(SAVIInfo* pInfo, int stream);
  /// As ::CheckIsEAC3.
  int CheckIsEAC3(int stream);

  // --- Decoder configuration: see ConfigReader ---

  unsigned char GetAudioSpecificInfo(int stream, uint8_t* buffer, uint32_t* length, uint32_t capacity = UINT32_MAX) {
    return m_Open->config.GetAudioSpecificInfo(stream, buffer, length, capacity);
  }
  unsigned char GetVideoSpecificInfo(int stream, uint8_t* buffer, uint32_t* length, uint32_t capacity = UINT32_MAX) {
    return m_Open->config.GetVideoSpecificInfo(stream, buffer, length, capacity);
  }
  unsigned char GetCodecSpecificInfo(int stream, uint8_t* buffer, uint32_t* length,
                                     uint32_t capacity = AVI_CONFIG_SCRATCH) {
    return m_Open->config.GetCodecSpecificInfo(stream, buffer, length, capacity);
  }

  // --- One chunk into the caller's memory: see ChunkReader, AudioReader, VideoReader ---
  // `buf` has `nBufLen` bytes; `piRead` [out] bytes written; `piTimeStamp` [out] milliseconds, 0xFFFFFFFF at the end.

  int GetNextData(int stream, char* buf, uint32_t nBufLen, uint32_t* piRead, uint32_t* piTimeStamp) {
    return Read(buf, nBufLen, piRead, piTimeStamp,
                [&](SChunkRead* read) { return m_Open->chunks.GetNextData(stream, read); });
  }
  int GetNextTextData(int stream, char* buf, uint32_t nBufLen, uint32_t* piRead, uint32_t* piTimeStamp) {
    return Read(buf, nBufLen, piRead, piTimeStamp,
                [&](SChunkRead* read) { return m_Open->chunks.GetNextTextData(stream, read); });
  }
  int GetFirstAudioData(int stream, char* buf, uint32_t nBufLen, uint32_t* piRead, uint32_t* piTimeStamp) {
    return Read(buf, nBufLen, piRead, piTimeStamp,
                [&](SChunkRead* read) { return m_Open->audio.GetFirstAudioData(stream, read); });
  }
  int GetNextAudioData(int stream, char* buf, uint32_t nBufLen, uint32_t* piRead, uint32_t* piTimeStamp) {
    return Read(buf, nBufLen, piRead, piTimeStamp,
                [&](SChunkRead* read) { return m_Open->audio.GetNextAudioData(stream, read); });
  }
  void SetAC3BitRate(uint32_t bitsPerSecond) { m_Open->audio.SetAC3BitRate(bitsPerSecond); }
  int GetFirstVideoData(int stream, char* buf, uint32_t nBufLen, uint32_t* piRead, bool /*keyOnly*/,
                        uint32_t* piTimeStamp) {
    return Read(buf, nBufLen, piRead, piTimeStamp,
                [&](SChunkRead* read) { return m_Open->video.GetFirstVideoData(stream, read); });
  }
  int GetNextVideoData(int stream, char* buf, uint32_t nBufLen, uint32_t* piRead, bool keyOnly, uint32_t* piTimeStamp) {
    return Read(buf, nBufLen, piRead, piTimeStamp,
                [&](SChunkRead* read) { return m_Open->video.GetNextVideoData(stream, keyOnly, read); });
  }

  // --- Cursors: see ChunkScanner, Seeker ---

  int FindFirstData(int stream, uint32_t* pOffset) { return m_Open->scanner.FindFirstData(stream, pOffset); }
  int FindFirstTrackData(int stream, long* pOffset) { return m_Open->scanner.FindFirstTrackData(stream, pOffset); }
  long FindNextData(int stream) { return m_Open->scanner.FindNextData(stream); }
  /// As ::FindFirstDataMP3.
  int FindFirstDataMP3(int stream);
  int SetStartTime(uint32_t dwTime, uint32_t* pdwStartTime, unsigned char bSeekForward, int nTrackType, int nSeekMode) {
    return m_Open->seeker.SetStartTime(dwTime, pdwStartTime, bSeekForward, nTrackType, nSeekMode);
  }
  int SetStartTime(uint32_t dwTime, uint32_t* pdwStartTime, unsigned char bSeekForward) {
    return m_Open->seeker.SetStartTime(dwTime, pdwStartTime, bSeekForward);
  }
  uint32_t SeekVideoKeyFrame(uint32_t dwTime, int stream, int nSeekMode, unsigned char bSeekForward) {
    return m_Open->seeker.SeekVideoKeyFrame(dwTime, stream, nSeekMode, bSeekForward);
  }
  uint32_t getNextKeyFrameTime(uint32_t dwTime) { return m_Open->seeker.getNextKeyFrameTime(dwTime); }

  static bool GetMPEGAudioFrameSize(uint32_t header, int* frameSize, int* sampleRate = nullptr, int* channels = nullptr,
                                    int* bitrateKbps = nullptr, int* samplesPerFrame = nullptr);

 private:
  template <typename Reader>
  static int Read(char* buf, uint32_t nBufLen, uint32_t* piRead, uint32_t* piTimeStamp, Reader reader) {
    SChunkRead read{buf, nBufLen, *piRead, *piTimeStamp};
    const int status = reader(&read);
    *piRead = read.nRead;
    *piTimeStamp = read.nTimeStamp;
    return status;
  }

  /// Everything that belongs to one open file. Made anew as a whole, so that nothing of an earlier file can be left.
  struct SOpenFile {
    explicit SOpenFile(AVISourceReader* reader) : file(reader) {}
    FileView file;
    SMovie movie;
    ChunkScanner scanner{file, movie};
    ChunkReader chunks{file, movie, scanner};
    AudioReader audio{movie, scanner, chunks};
    VideoReader video{movie, scanner, chunks};
    Seeker seeker{movie};
    ConfigReader config{file, movie};
  };
  std::optional<SOpenFile> m_Open;  // never empty
};

#endif  // ZU_AVIFILE_AVI_FILE_PARSER_H_
