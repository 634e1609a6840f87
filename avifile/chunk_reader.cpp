#define LOG_TAG "AVIFileParser"
#include "avifile/chunk_reader.h"

#include "avifile/format_fields.h"
#include "avifile/mpeg_audio_header.h"
#include "avifile/riff_header.h"
#include "base/checked_math.h"
#include "base/log.h"
#include "zu_parser_avi/stream_types.h"

namespace {

/// Where the Xing tag stands behind a Layer III header: after the side information, whose size depends on the version
/// and on the number of channels (ISO/IEC 11172-3 2.4.1.7, 13818-3 2.4.1.7).
size_t XingOffset(uint8_t headerByte1, uint32_t channels) {
  const bool mpeg1 = (headerByte1 & 0x08) != 0;
  if (mpeg1) return channels == 1 ? 21 : 36;
  return channels == 1 ? 13 : 21;
}

}  // namespace

int ChunkReader::GetNextData(int stream, SChunkRead* read) {
  SAVIStream* record = m_Movie.streams.At(stream);
  return record ? Read(stream, record, read) : read->End();
}

int ChunkReader::ReadIndexed(int stream, SAVIStream* record, SChunkRead* read) {
  const SIndexEntry* entry = IndexEntry(record, record->dwCurrIdx);
  if (!entry) return MissingEntry(stream, record, read);
  const uint32_t chunkSize = ChunkSize(*entry);
  if (chunkSize > read->nBufLen) {
    AVI_LOGE(" GetNextData : AVI_INSUFFICIENT_BUFFER dwChunkSize  > nBufLen, nBufLen:%ld,dwChunkSize:%ld",
             static_cast<long>(read->nBufLen), static_cast<long>(chunkSize));
    return read->End();
  }

  if (record->nStreamType == STREAM_TYPE_MPEG2 || record->nStreamType == STREAM_TYPE_MPEG1) {
    return ReadMpegVideo(record, *entry, read);
  }
  const int nRead = ReadEntry(*entry, read);
  if (nRead < 0) return FailedChunkRead(nRead, read);
  if (record->nStreamType == STREAM_TYPE_MP3) {
    ExamineMp3Chunk(stream, record, {reinterpret_cast<const uint8_t*>(read->buf), read->nRead});
  }
  record->dwChunkCount = CheckedAdd<uint32_t>(record->dwChunkCount, 1u);
  return Advance(record, *entry, read);
}

/// Of a picture that is spread over chunks all are read. Streams of MPEG-1 and MPEG-2 do not count their chunks.
int ChunkReader::ReadMpegVideo(SAVIStream* record, const SIndexEntry& entry, SChunkRead* read) {
  const int status = m_Joiner.Check(record, read);
  if (status != AVI_OK) return status;
  if (m_Joiner.IsSplitVideo()) return m_Joiner.Read(record, entry, read);
  const int nRead = ReadEntry(entry, read);
  return nRead < 0 ? FailedChunkRead(nRead, read) : Advance(record, entry, read);
}

inline int ChunkReader::ReadEntry(const SIndexEntry& entry, SChunkRead* read) {
  m_File.Seek(entry.qwOffset);
  const int nRead = m_File.Read(read->buf, ChunkSize(entry));
  if (nRead >= 0) read->nRead = static_cast<uint32_t>(nRead);
  return nRead;
}

inline int ChunkReader::Advance(SAVIStream* record, const SIndexEntry& entry, SChunkRead* read) {
  record->dwTotalBytes = CheckedAdd<uint64_t>(record->dwTotalBytes, read->nRead);
  record->dwCurrIdx = CheckedAdd<uint32_t>(record->dwCurrIdx, 1u);
  return read->nRead != 0 ? AVI_OK : EmptyIndexedRead(ChunkSize(entry), read);
}

int ChunkReader::MissingEntry(int stream, const SAVIStream* record, SChunkRead* read) {
  AVI_LOGI(" [AVI] GetNextData Error :: cur_idx[%d]:%lu >= IdxNum[%d]:%lu ", stream,
           static_cast<unsigned long>(record->dwCurrIdx), stream, static_cast<unsigned long>(IndexCount(record)));
  return read->End();
}

void ChunkReader::ExamineMp3Chunk(int stream, const SAVIStream* record, ByteSpan chunk) {
  if (chunk.size() < 4) return;
  const SMpegAudioHeader* header = m_Headers.Decode(LoadBe32(chunk.data()));
  if (!header) return;
  if (SampleSize(record) == 0 && header->nKbps != uint64_t{AvgBytesPerSec(record)} * 8 / 1000) {
    m_Movie.streams.SetVBR(stream);
  }
  m_dwMp3FrameSize = header->nFrameSize;
  const size_t xing = XingOffset(chunk[1], header->nChannels);
  if (chunk.size() >= xing + 4 && LoadLe32(chunk.data() + xing) == FourCC("Xing")) m_Movie.streams.SetVBR(stream);
}

int ChunkReader::ReadScanned(int stream, SAVIStream* record, SChunkRead* read) {
  if (record->dwCurrOffset == 0) {
    AVI_LOGE(" GetNextData : dwCurrOffset is 0. Find first data");
    if (!m_Movie.m_pMovi) return read->End();
    m_Scanner.PlaceCursor(stream, record);
  }
  if (record->dwCurrOffset == kCursorAtEnd) {
    AVI_LOGI(" GetNextData : EOF");
    return read->End();
  }

  m_File.Seek(record->dwCurrOffset);
  SRIFF riff;
  int nRead = m_File.ReadHeader(&riff);
  if (nRead < 0) return FailedChunkRead(nRead, read);
  if (nRead == 0) {
    AVI_LOGE(" GetNextData : AVI_ERROR nRead = 0");
    return read->End();
  }
  if (riff.dwSize > read->nBufLen) {
    AVI_LOGE(" GetNextData : AVI_INSUFFICIENT_BUFFER sRiff.dwSize  > nBufLen, nBufLen:%ld, sRiff.dwSize:%ld",
             static_cast<long>(read->nBufLen), static_cast<long>(riff.dwSize));
    return read->End();
  }
  m_File.StepBackOverType();
  nRead = m_File.Read(read->buf, riff.dwSize);
  if (nRead < 0) return FailedChunkRead(nRead, read);
  read->nRead = static_cast<uint32_t>(nRead);
  if (riff.dwSize & 1) m_File.Skip(1);

  // Whatever comes back becomes the cursor, statuses too: reading there ends or fails, and never overruns.
  record->dwCurrOffset = static_cast<uint64_t>(m_Scanner.FindNextData(stream));
  record->dwCurrIdx = CheckedAdd<uint32_t>(record->dwCurrIdx, 1u);
  record->dwChunkCount = CheckedAdd<uint32_t>(record->dwChunkCount, 1u);
  record->dwTotalBytes = CheckedAdd<uint64_t>(record->dwTotalBytes, read->nRead);
  if (riff.dwSize != 0 && read->nRead == 0) {
    AVI_LOGE(" GetNextData 2: sRiff.dwSize != 0 && *piRead == 0");
    read->nTimeStamp = AVI_END_MARK;
    return AVI_ERROR;
  }
  return AVI_OK;
}

int ChunkReader::GetNextTextData(int stream, SChunkRead* read) {
  read->nRead = 0;
  const int status = GetNextData(stream, read);
  if (status != AVI_OK) AVI_LOGE("CAVIFileParser::GetNextTextData ERROR %d", status);
  return status;
}
