#define LOG_TAG "AVIFileParser"
#include <algorithm>
#include <cstring>

#include "avifile/codec_table.h"
#include "avifile/format_fields.h"
#include "avifile/header_reader.h"
#include "avifile/mpeg_audio_header.h"
#include "base/log.h"
#include "zu_parser_avi/stream_types.h"

namespace {

constexpr uint16_t kTagMpegAudio = 0x0050, kTagMp3 = 0x0055, kTagAc3 = 0x2000, kTagExtensible = 0xFFFE;
constexpr uint32_t kPlainWaveFormatBytes = 14;  // without wBitsPerSample
constexpr uint32_t kExtensibleExtraBytes = 22;  // what WAVEFORMATEXTENSIBLE adds to WAVEFORMATEX

void StoreLe16(uint8_t* bytes, uint16_t value) {
  bytes[0] = static_cast<uint8_t>(value);
  bytes[1] = static_cast<uint8_t>(value >> 8);
}

/// A zeroed format buffer in which every fixed field can be read; null when the size is absurd or memory is out.
MallocPtr<uint8_t> AllocFormat(uint32_t size) {
  if (size > AVI_MAX_COPY) return nullptr;
  return AllocZeroed<uint8_t>(std::max(size, AVI_MIN_FORMAT));
}

/// Puts the tag that the sub-format stands for into wFormatTag, so that every later reader sees it.
void ResolveSubFormat(uint8_t* format) {
  if (const uint16_t validBits = LoadLe16(format + kWaveValidBits)) StoreLe16(format + kWaveBitsPerSample, validBits);
  bool baseMedia = false;
  const uint16_t tag = FormatTagOf(format + kWaveSubFormat, &baseMedia);
  StoreLe16(format + kWaveFormatTag, tag);
  if (baseMedia) {
    AVI_LOGV("Found FormatTAG in BASE MEDIA GUID: %2x", static_cast<unsigned>(tag));
  } else if (tag != 0) {
    AVI_LOGV("Found FormatTAG in GUIDS: %2x", static_cast<unsigned>(tag));
  }
}

/// Whether nBlockAlign is the number of samples in a frame, as writers of VBR streams put it.
bool IsFrameOfSamples(uint32_t blockAlign) { return blockAlign == 384 || blockAlign == 576 || blockAlign == 1152; }

/// Audio frames per second of an MPEG audio stream, which replace the header's rate.
float MpegFrameRate(const SAVIStream* stream, uint16_t tag) {
  const uint32_t rate = SamplesPerSec(stream);
  const uint32_t blockAlign = BlockAlign(stream);
  uint32_t samples = tag == kTagMpegAudio ? MpegFrameSamples(false) : Layer3FrameSamples(rate);
  if (SampleSize(stream) == 0 && IsFrameOfSamples(blockAlign)) samples = blockAlign;
  return static_cast<float>(static_cast<double>(rate) / samples);
}

}  // namespace

int HeaderReader::ParseChunkStrFmt(SRIFFNode* node, uint32_t size) {
  SAVIStream* stream = m_Movie.streams.CurrentStream();
  if (!stream || !stream->m_pStrh) {
    AVI_LOGE("ERROR! ParseStrf: strh is NULL!!!");
    return 0;
  }
  node->sRiff.dwType = stream->m_pStrh->fccType;
  if (HasKind(stream, kFccAudio)) return ParseAudioFormat(node, size, stream);
  if (HasKind(stream, kFccVideo)) return ParseVideoFormat(node, size, stream);
  AVI_LOGW("WARNING! ParseChunk() 'strf' MIDI, TEXT not supported....Do nothing");
  return 1;
}

int HeaderReader::ParseAudioFormat(SRIFFNode* node, uint32_t size, SAVIStream* stream) {
  if (size < kWaveHeaderBytes) AVI_LOGW("ParseChunk() error case 'strf'(audio) not valid But Keep going");
  MallocPtr<uint8_t> format = AllocFormat(size);
  if (!format) {
    AVI_LOGE("ERROR! ParseChunk() 'strf'(audio) malloc() error");
    return 0;
  }
  const int nRead = m_File.Read(format.get(), size);
  if (nRead < 1) {
    AVI_LOGE("[AVI] Error -> AUDIO ParseChunkStrFmt :: nRead(%d)", nRead);
    return 1;
  }
  if (size == kPlainWaveFormatBytes) StoreLe16(format.get() + kWaveBitsPerSample, 8);
  const bool extensible = LoadLe16(format.get() + kWaveFormatTag) == kTagExtensible &&
                          LoadLe16(format.get() + kWaveCbSize) >= kExtensibleExtraBytes;
  if (extensible) ResolveSubFormat(format.get());
  const uint16_t tag = LoadLe16(format.get() + kWaveFormatTag);
  // A sub-format that stands for "see the sub-format" tells nothing.
  stream->nStreamType = extensible && tag == kTagExtensible ? uint32_t{STREAM_TYPE_AUDIO_UNKNOWN} : AudioTypeOf(tag);
  stream->m_pStrf = format.get();
  stream->m_nStrfSize = size;
  node->pData = format.release();  // freed with the chunk tree

  const bool noByteRate = AvgBytesPerSec(stream) == 0;
  if (tag == kTagAc3 && noByteRate) m_Movie.streams.SetVBR(m_Movie.streams.Current());
  if (tag == kTagMp3 && (noByteRate || (SampleSize(stream) == 1152 && BlockAlign(stream) == 1152))) {
    m_Movie.streams.SetVBR(m_Movie.streams.Current());
  }
  if (tag == kTagMpegAudio || tag == kTagMp3) stream->fFramePerSec = MpegFrameRate(stream, tag);

  if (!m_Movie.streams.KeepFormat()) {
    AVI_LOGE("[AVI] m_StrfData allocate Error -> ParseChunkStrFmt");
    return 0;
  }
  return 1;
}

int HeaderReader::ParseVideoFormat(SRIFFNode* node, uint32_t size, SAVIStream* stream) {
  MallocPtr<uint8_t> format = AllocFormat(size);
  if (!format) {
    AVI_LOGE("ERROR! ParseChunk() 'strf'(video) malloc() error");
    return 0;
  }
  const int nRead = m_File.Read(format.get(), size);
  if (nRead < 1) {
    AVI_LOGE("[AVI] Error -> VIDEO ParseChunkStrFmt :: nRead(%d)", nRead);
    return 1;
  }
  stream->m_pStrf = format.get();
  stream->m_nStrfSize = size;
  node->pData = format.release();  // freed with the chunk tree

  const uint32_t compression = StrfU32(stream, kBitmapCompression);
  const uint32_t type = VideoTypeOf(compression);
  stream->nStreamType = m_Movie.m_nVideoType = type;
  if (compression == FourCC("DXSA")) m_Movie.m_bAlphaSubtitle = true;
  if (type == STREAM_TYPE_SUBTITLE) m_Movie.m_bSubtitle = true;
  if (type == STREAM_TYPE_UNKNOWN || type == STREAM_TYPE_SUBTITLE) return 1;

  m_Movie.m_pVideoStrf.reset();  // first: a file may have many formats of many megabytes
  m_Movie.m_pVideoStrf = AllocZeroed<uint8_t>(size);
  m_Movie.m_nVideoStrfSize = m_Movie.m_pVideoStrf ? size : 0;
  if (!m_Movie.m_pVideoStrf) {
    AVI_LOGE("ERROR! ParseStrfExt data 'strf'(audio) malloc() error");  // it says audio; integrators know it so
    return 0;
  }
  std::memcpy(m_Movie.m_pVideoStrf.get(), stream->m_pStrf, size);
  return 1;
}
