#ifndef ZU_AVIFILE_VIDEO_BITSTREAM_H_
#define ZU_AVIFILE_VIDEO_BITSTREAM_H_

#include "base/bytes.h"

// Looks into compressed video, bounded by the bytes that are there.

constexpr uint8_t kVolStartCode = 0x20;  // ISO/IEC 14496-2: video_object_layer_start_code
constexpr uint8_t kVopStartCode = 0xB6;  // ISO/IEC 14496-2: vop_start_code
constexpr int kVopI = 0, kVopB = 2;      // ISO/IEC 14496-2: vop_coding_type
/// Start of an IDR slice: ITU-T H.264 annex B, nal_unit_type 5.
constexpr uint8_t kIdrSlice[] = {0x00, 0x00, 0x00, 0x01, 0x65};

/// Turns NAL units behind 4-byte big-endian lengths (ISO/IEC 14496-15) into NAL units behind 00 00 00 01, in place. A
/// frame that has start codes already stays as it is. @return false when a length of 0 shows it to be damaged.
bool LengthsToStartCodes(uint8_t* frame, uint32_t size);

/// Position of a VOL start code near the front whose layer header is damaged; kNotFound.
ptrdiff_t FindDamagedVol(ByteSpan frame);

/// Whether a Theora frame is intra; a frame too short to tell counts as intra.
bool IsTheoraIntra(ByteSpan frame);

/// Whether an H.263 picture (ITU-T H.263 5.1) is intra; data that is no picture, or too short to tell, counts as intra.
bool IsH263Intra(ByteSpan frame);

/// vop_coding_type (0 I, 1 P, 2 B, 3 S) of the first VOP; -1 when there is none.
int VopCodingType(ByteSpan frame);

#endif  // ZU_AVIFILE_VIDEO_BITSTREAM_H_
