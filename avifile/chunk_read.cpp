#define LOG_TAG "AVIFileParser"
#include <cstring>

#include "avifile/avi_file_parser.h"
#include "avifile/format_fields.h"
#include "avifile/riff_header.h"
#include "base/checked_math.h"
#include "base/log.h"

namespace {

/// Where the Xing tag stands behind a Layer III header: after the side information, whose size depends on the version
/// and on the number of channels (ISO/IEC 11172-3 2.4.1.7, 13818-3 2.4.1.7).
size_t XingOffset(uint8_t headerByte1, int channels) {
  const bool mpeg1 = (headerByte1 & 0x08) != 0;
  if (mpeg1) return channels == 1 ? 21 : 36;
  return channels == 1 ? 13 : 21;
}

}  // namespace

int CAVIFileParser::ReadPayload(void* buf, uint32_t size) { return m_pReader->AVI_fread(buf, size, 1); }

int CAVIFileParser::FailedRead(int nRead, unsigned int* piRead) {
  AVI_LOGE("GetNextData fread ERROR!");
  *piRead = 0;
  if (nRead != AVI_SOURCE_WOULD_BLOCK) return AVI_IO_ERROR;
  AVI_LOGE("GetNextData  ERROR EAGAIN");
  return AVI_EAGAIN;
}

int CAVIFileParser::EndOfData(unsigned int* piRead, unsigned int* piTimeStamp) {
  *piRead = 0;
  *piTimeStamp = AVI_END_MARK;
  return AVI_ERROR;
}

int CAVIFileParser::GetNextData(int stream, char* buf, unsigned int nBufLen, unsigned int* piRead,
                                unsigned int* piTimeStamp) {
  SAVIStream* record = Stream(stream);
  if (!record) return EndOfData(piRead, piTimeStamp);
  return IsIndexed() ? ReadIndexed(stream, record, buf, nBufLen, piRead, piTimeStamp)
                     : ReadScanned(stream, record, buf, nBufLen, piRead, piTimeStamp);
}

int CAVIFileParser::ReadIndexed(int stream, SAVIStream* record, char* buf, unsigned int nBufLen, unsigned int* piRead,
                                unsigned int* piTimeStamp) {
  const SIndexEntry* entry = IndexEntry(record, record->dwCurrIdx);
  const uint32_t chunkSize = entry ? ChunkSize(*entry) : 0;
  if (chunkSize > nBufLen) {
    AVI_LOGE(" GetNextData : AVI_INSUFFICIENT_BUFFER dwChunkSize  > nBufLen, nBufLen:%ld,dwChunkSize:%ld",
             static_cast<long>(nBufLen), static_cast<long>(chunkSize));
    return EndOfData(piRead, piTimeStamp);
  }
  if (!entry) {
    AVI_LOGI(" [AVI] GetNextData Error :: cur_idx[%d]:%lu >= IdxNum[%d]:%lu ", stream,
             static_cast<unsigned long>(record->dwCurrIdx), stream, static_cast<unsigned long>(IndexCount(record)));
    return EndOfData(piRead, piTimeStamp);
  }

  const bool mpegVideo = record->nStreamType == STREAM_TYPE_MPEG2 || record->nStreamType == STREAM_TYPE_MPEG1;
  if (mpegVideo) {
    const int status = CheckSplitVideo(record, piRead);
    if (status != AVI_OK) return status;
    if (m_bSplitVideo) return ReadSplit(record, *entry, buf, nBufLen, piRead, piTimeStamp);
  }
  m_pReader->AVI_fseek(static_cast<long>(entry->qwOffset), 0);
  const int nRead = ReadPayload(buf, chunkSize);
  if (nRead < 0) return FailedRead(nRead, piRead);
  *piRead = static_cast<unsigned int>(nRead);
  if (record->nStreamType == STREAM_TYPE_MP3) {
    ExamineMp3Chunk(stream, record, {reinterpret_cast<const uint8_t*>(buf), *piRead});
  }

  record->dwTotalBytes = CheckedAdd<uint64_t>(record->dwTotalBytes, *piRead);
  record->dwCurrIdx = CheckedAdd<uint32_t>(record->dwCurrIdx, 1u);
  if (!mpegVideo) record->dwChunkCount = CheckedAdd<uint32_t>(record->dwChunkCount, 1u);
  return EmptyRead(chunkSize, piRead, piTimeStamp);
}

int CAVIFileParser::EmptyRead(uint32_t chunkSize, const unsigned int* piRead, unsigned int* piTimeStamp) {
  if (chunkSize == 0 || *piRead != 0) return AVI_OK;
  AVI_LOGE(" GetNextData : AVI_ERROR dwChunkSize != 0 && *piRead == 0");
  *piTimeStamp = AVI_END_MARK;
  return AVI_ERROR;
}

void CAVIFileParser::ExamineMp3Chunk(int stream, const SAVIStream* record, ByteSpan chunk) {
  if (chunk.size() < 4) return;
  int frameSize, sampleRate, channels, bitrateKbps;
  if (!GetMPEGAudioFrameSize(LoadBe32(chunk.data()), &frameSize, &sampleRate, &channels, &bitrateKbps)) return;
  if (SampleSize(record) == 0 && static_cast<uint64_t>(bitrateKbps) != uint64_t{AvgBytesPerSec(record)} * 8 / 1000) {
    SetVBR(stream);
  }
  m_dwMp3FrameSize = static_cast<uint32_t>(frameSize);
  m_dwMp3BitRate = static_cast<uint32_t>(bitrateKbps);
  const size_t xing = XingOffset(chunk[1], channels);
  if (chunk.size() >= xing + 4 && LoadLe32(chunk.data() + xing) == FourCC("Xing")) SetVBR(stream);
}

int CAVIFileParser::ReadScanned(int stream, SAVIStream* record, char* buf, unsigned int nBufLen, unsigned int* piRead,
                                unsigned int* piTimeStamp) {
  if (record->dwCurrOffset == 0) {
    AVI_LOGE(" GetNextData : dwCurrOffset is 0. Find first data");
    if (!m_pMovi) return EndOfData(piRead, piTimeStamp);
    PlaceCursor(stream, record);
  }
  if (record->dwCurrOffset == kCursorAtEnd) {
    AVI_LOGI(" GetNextData : EOF");
    return EndOfData(piRead, piTimeStamp);
  }

  m_pReader->AVI_fseek(static_cast<long>(record->dwCurrOffset), 0);
  SRIFF riff;
  int nRead = ReadRiffHeader(m_pReader, &riff);
  if (nRead < 0) return FailedRead(nRead, piRead);
  if (nRead == 0) {
    AVI_LOGE(" GetNextData : AVI_ERROR nRead = 0");
    return EndOfData(piRead, piTimeStamp);
  }
  if (riff.dwSize > nBufLen) {
    AVI_LOGE(" GetNextData : AVI_INSUFFICIENT_BUFFER sRiff.dwSize  > nBufLen, nBufLen:%ld, sRiff.dwSize:%ld",
             static_cast<long>(nBufLen), static_cast<long>(riff.dwSize));
    return EndOfData(piRead, piTimeStamp);
  }
  m_pReader->AVI_fseek(-4, 1);
  nRead = ReadPayload(buf, riff.dwSize);
  if (nRead < 0) return FailedRead(nRead, piRead);
  *piRead = static_cast<unsigned int>(nRead);
  if (riff.dwSize & 1) m_pReader->AVI_fseek(1, 1);

  // Whatever comes back becomes the cursor, statuses too: reading there ends or fails, and never overruns.
  record->dwCurrOffset = static_cast<uint64_t>(FindNextData(stream));
  record->dwCurrIdx = CheckedAdd<uint32_t>(record->dwCurrIdx, 1u);
  record->dwChunkCount = CheckedAdd<uint32_t>(record->dwChunkCount, 1u);
  record->dwTotalBytes = CheckedAdd<uint64_t>(record->dwTotalBytes, *piRead);
  if (riff.dwSize != 0 && *piRead == 0) {
    AVI_LOGE(" GetNextData 2: sRiff.dwSize != 0 && *piRead == 0");
    *piTimeStamp = AVI_END_MARK;
    return AVI_ERROR;
  }
  return AVI_OK;
}

int CAVIFileParser::GetNextTextData(int stream, char* buf, unsigned int nBufLen, unsigned int* piRead,
                                    unsigned int* piTimeStamp) {
  *piRead = 0;
  const int status = GetNextData(stream, buf, nBufLen, piRead, piTimeStamp);
  if (status != AVI_OK) AVI_LOGE("CAVIFileParser::GetNextTextData ERROR %d", status);
  return status;
}
