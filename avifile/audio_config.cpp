#include <algorithm>
#include <cstring>

#include "avifile/avi_file_parser.h"
#include "avifile/format_fields.h"

namespace {

bool IsAdpcm(uint32_t type) {
  return type == STREAM_TYPE_MS_ADPCM || type == STREAM_TYPE_OKI_ADPCM || type == STREAM_TYPE_IMA_ADPCM ||
         type == STREAM_TYPE_ADPCM_0012;
}

}  // namespace

unsigned char CAVIFileParser::GetAudioSpecificInfo(int stream, uint8_t* buffer, uint32_t* length, uint32_t capacity) {
  if (!buffer) return 0;
  const uint32_t type = GetStreamType(stream);
  *length = 0;
  if (type == STREAM_TYPE_MP3 || type == STREAM_TYPE_MPEG_AUDIO) return 0;
  const SAVIStream* record = Stream(stream);
  if (!record || !m_StrfData || !m_StrfData[stream].pData) return 1;
  const SStrfData& format = m_StrfData[stream];
  // ADPCM decoders take the whole format; the others what stands behind its fixed part.
  const uint32_t skip = IsAdpcm(type) ? 0 : static_cast<uint32_t>(kWaveHeaderBytes);
  if (format.nSize <= skip) return 1;
  *length = format.nSize - skip;
  std::memcpy(buffer, format.pData + skip, std::min(*length, capacity));
  return 1;
}
