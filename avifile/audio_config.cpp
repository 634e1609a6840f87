#include <algorithm>
#include <cstring>

#include "avifile/config_reader.h"
#include "avifile/format_fields.h"
#include "zu_parser_avi/stream_types.h"

namespace {

bool IsAdpcm(uint32_t type) {
  return type == STREAM_TYPE_MS_ADPCM || type == STREAM_TYPE_OKI_ADPCM || type == STREAM_TYPE_IMA_ADPCM ||
         type == STREAM_TYPE_ADPCM_0012;
}

}  // namespace

unsigned char ConfigReader::GetAudioSpecificInfo(int stream, uint8_t* buffer, uint32_t* length,
                                                 uint32_t capacity) const {
  if (!buffer) return 0;
  const uint32_t type = m_Movie.streams.GetStreamType(stream);
  *length = 0;
  if (type == STREAM_TYPE_MP3 || type == STREAM_TYPE_MPEG_AUDIO) return 0;
  const SStrfData format = m_Movie.streams.Format(stream);
  if (!format.pData) return 1;
  // ADPCM decoders take the whole format; the others what stands behind its fixed part.
  const uint32_t skip = IsAdpcm(type) ? 0 : static_cast<uint32_t>(kWaveHeaderBytes);
  if (format.nSize <= skip) return 1;
  *length = format.nSize - skip;
  std::memcpy(buffer, format.pData + skip, std::min(*length, capacity));
  return 1;
}
