#ifndef ZU_AVIFILE_MPEG_AUDIO_HEADER_H_
#define ZU_AVIFILE_MPEG_AUDIO_HEADER_H_

#include <cstdint>

// MPEG audio frames (ISO/IEC 11172-3, 13818-3 and the MPEG-2.5 extension), as far as their headers tell. Keeps nothing.

/// Samples in a frame of Layer II or III; `half`: of Layer III at the lower sample rates.
constexpr uint32_t MpegFrameSamples(bool half) { return half ? 576 : 1152; }

/// Whether the sample rate is one of MPEG-1 audio (ISO/IEC 11172-3), whose Layer III frames have 1152 samples.
constexpr bool IsMpeg1SampleRate(uint32_t rate) { return rate == 32000 || rate == 44100 || rate == 48000; }

/// Samples in a Layer III frame at a sample rate in Hz; 576 for any rate that MPEG-1 does not have.
constexpr uint32_t Layer3FrameSamples(uint32_t rate) { return MpegFrameSamples(!IsMpeg1SampleRate(rate)); }

/// Layer that the second byte of a header tells: 2, 3, or 0 for anything else.
constexpr uint32_t MpegAudioLayer(uint8_t byte1) {
  // The low nibble: low version bit, two layer bits, protection bit.
  constexpr unsigned kLayer3Nibbles = 0x0C0C;  // 2, 3, 10, 11
  constexpr unsigned kLayer2Nibbles = 0x3030;  // 4, 5, 12, 13
  if (byte1 < 0xE0) return 0;
  const unsigned bit = 1u << (byte1 & 0x0F);
  return kLayer3Nibbles & bit ? 3 : kLayer2Nibbles & bit ? 2 : 0;
}

struct SMpegAudioHeader {
  uint32_t nLayer = 0;       ///< 1 to 3
  uint32_t nFrameSize = 0;   ///< bytes, header included
  uint32_t nSampleRate = 0;  ///< Hz
  uint32_t nChannels = 0;
  uint32_t nKbps = 0;  ///< kbit/s
  uint32_t nSamples = MpegFrameSamples(false);
};

/// Decodes a frame header, first byte most significant.
/// @return false, `out` left as it was, for a reserved value or free format.
bool DecodeMpegAudioHeader(uint32_t header, SMpegAudioHeader* out);

/// Decodes the headers of one track, which are nearly all alike. Keeps what the last valid one said.
class MpegHeaderDecoder {
 public:
  /// @return as DecodeMpegAudioHeader tells it, until the next call; null for a reserved value or free format.
  const SMpegAudioHeader* Decode(uint32_t header) {
    const uint32_t kind = header & kDecisiveBits;
    if (kind != m_nKind && (kind < kSync || !Remember(kind))) return nullptr;
    m_Header.nFrameSize = m_anFrameSize[header & kPaddingBit ? 1 : 0];
    return &m_Header;
  }

 private:
  // Sync, version and layer; bit rate and sample rate; mode. The others say nothing of size or rate but the padding.
  static constexpr uint32_t kDecisiveBits = 0xFFFEFCC0u, kPaddingBit = 0x200, kSync = 0xFFE00000u;
  bool Remember(uint32_t kind);

  static constexpr uint32_t kNone = 1;  // which no decisive bits give
  uint32_t m_nKind = kNone;
  uint32_t m_anFrameSize[2] = {};  // bytes, without padding and with
  SMpegAudioHeader m_Header;
};

#endif  // ZU_AVIFILE_MPEG_AUDIO_HEADER_H_
