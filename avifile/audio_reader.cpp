#include "avifile/audio_reader.h"

#include "avifile/format_fields.h"
#include "avifile/sample_time.h"

int AudioReader::GetNextAudioData(int stream, SChunkRead* read) {
  read->nRead = 0;
  SAVIStream* record = m_Movie.streams.At(stream);
  if (!record) return read->End();
  read->nTimeStamp = NextTime(stream, record);
  return m_Chunks.Read(stream, record, read);
}

inline uint32_t AudioReader::NextTime(int stream, const SAVIStream* record) {
  if (!record->m_pStrh || !record->m_pStrf) return 0;
  const bool byIndex = IsTimedByIndex(m_Movie.streams, stream, record);
  uint32_t ac3BitRate = 0;
  if (record->nStreamType == STREAM_TYPE_AC3 && !byIndex) {
    ac3BitRate = m_dwAC3BitRate;
    m_dwAC3BitRate = 0;  // it serves one read
  }
  return AudioTime(record, byIndex, record->dwCurrIdx, record->dwTotalBytes, ac3BitRate);
}

int AudioReader::GetFirstAudioData(int stream, SChunkRead* read) {
  read->nRead = 0;
  SAVIStream* record = m_Movie.streams.At(stream);
  if (!record) return read->End();
  if (!m_Movie.IsIndexed()) {
    if (!m_Movie.m_pMovi) return AVI_ERROR;
    if (m_Scanner.PlaceCursor(stream, record) == AVI_ERROR) return AVI_ERROR;
  }
  return GetNextAudioData(stream, read);
}
