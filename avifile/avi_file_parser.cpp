#define LOG_TAG "AVIFileParser"
#include "avifile/avi_file_parser.h"

#include "avifile/chunk_walker.h"
#include "avifile/eac3_probe.h"
#include "avifile/movie_info.h"
#include "avifile/mp3_align.h"
#include "avifile/mpeg_audio_header.h"
#include "avifile/sample_time.h"
#include "base/checked_math.h"
#include "base/log.h"

namespace {

void Store(int* out, uint32_t value) {
  if (out) *out = static_cast<int>(value);
}

}  // namespace

int CAVIFileParser::Init(AVISourceReader* reader) {
  m_Open.emplace(reader);
  return 1;
}

int CAVIFileParser::Parse(unsigned char bSkipIndex) {
  Init(m_Open->file.Reader());  // a second walk starts from nothing
  FileView& file = m_Open->file;
  SMovie& movie = m_Open->movie;
  const long start = file.Tell();
  const long end = file.AskLength();
  const int result = ChunkWalker(file, movie, bSkipIndex).ParseChild(nullptr, CheckedSub<long>(end, start));
  const int declared = movie.streams.DeclaredCount();
  const int streams = CheckedAdd<int>(movie.streams.Current(), 1);
  if (streams != declared) {
    AVI_LOGW("Parse: the number of stream(%d) doesn't match dwStreams(%d) in avih", streams, declared);
    return 0;
  }
  file.Seek(start);
  const bool streamsMissing = declared > 0 && !movie.streams.IsDeclared();
  return streamsMissing ? 0 : result;
}

uint32_t CAVIFileParser::EntryTime(int stream, uint32_t index, uint64_t bytesBefore) const {
  const StreamTable& streams = m_Open->movie.streams;
  const SAVIStream* record = streams.At(stream);
  if (!record) return 0;
  if (!IsAudioStreamType(record->nStreamType)) return IndexTime(record, index);
  return AudioTime(record, IsTimedByIndex(streams, stream, record), index, bytesBefore, 0);
}

int CAVIFileParser::GetMoviInfo(SAVIInfo* pInfo, int stream) { return ::GetMoviInfo(m_Open->movie, pInfo, stream); }

int CAVIFileParser::CheckIsEAC3(int stream) {
  return ::CheckIsEAC3(m_Open->file, m_Open->movie, m_Open->scanner, stream);
}

int CAVIFileParser::FindFirstDataMP3(int stream) {
  return ::FindFirstDataMP3(m_Open->file, m_Open->movie, m_Open->scanner, stream);
}

bool CAVIFileParser::GetMPEGAudioFrameSize(unsigned int header, int* frameSize, int* sampleRate, int* channels,
                                           int* bitrateKbps, int* samplesPerFrame) {
  SMpegAudioHeader decoded;
  const bool valid = DecodeMpegAudioHeader(header, &decoded);
  Store(frameSize, decoded.nFrameSize);
  Store(sampleRate, decoded.nSampleRate);
  Store(channels, decoded.nChannels);
  Store(bitrateKbps, decoded.nKbps);
  Store(samplesPerFrame, decoded.nSamples);
  return valid;
}
