#ifndef ZU_AVIFILE_CODEC_TABLE_H_
#define ZU_AVIFILE_CODEC_TABLE_H_

#include <cstdint>

/// STREAM_TYPE_... of a BITMAPINFOHEADER's biCompression, exactly as spelt; STREAM_TYPE_UNKNOWN for any other.
uint32_t VideoTypeOf(uint32_t biCompression);

/// STREAM_TYPE_... of a WAVEFORMATEX's wFormatTag; STREAM_TYPE_AUDIO_UNKNOWN for any other.
uint32_t AudioTypeOf(uint16_t wFormatTag);

/// Format tag of a WAVEFORMATEXTENSIBLE's SubFormat, 16 bytes in file order.
/// @param baseMedia [out] whether it is one of the GUIDs that carry the tag in their first two bytes.
/// @return 0 when the GUID is not known.
uint16_t FormatTagOf(const uint8_t* guid, bool* baseMedia);

#endif  // ZU_AVIFILE_CODEC_TABLE_H_
