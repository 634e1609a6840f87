#include "tools/aviprobe/model/format_fields.h"

#include <fmt/format.h>

#include "tools/aviprobe/model/format_names.h"
#include "tools/aviprobe/model/little_endian.h"

namespace {

constexpr uint64_t kMp3Tag = 0x0055;
constexpr size_t kMp3Bytes = 12, kExtensibleBytes = 22;

void ReadExtensible(FieldReader* reader) {
  reader->Number("wValidBitsPerSample", 2);
  reader->Hex("dwChannelMask", 4);
  const auto guid = reader->Take("SubFormat", kGuidBytes);
  if (guid.empty()) return;
  std::string last;
  for (size_t i = 8; i < kGuidBytes; ++i) last += fmt::format("{}{:02x}", i == 10 ? "-" : "", guid[i]);
  reader->Shows(fmt::format("{:08x}-{:04x}-{:04x}-{}", Le32At(guid, 0), Le16At(guid, 4), Le16At(guid, 6), last));
  reader->Means(SubFormatName(guid.first<kGuidBytes>()));
}

void ReadMp3(FieldReader* reader) {
  reader->Number("wID", 2);
  reader->Hex("fdwFlags", 4);
  reader->Number("nBlockSize", 2);
  reader->Number("nFramesPerBlock", 2);
  reader->Number("nCodecDelay", 2);
}

}  // namespace

void ReadVideoFormatFields(FieldReader* reader) {
  reader->Number("biSize", 4);
  reader->Signed("biWidth", 4);
  if (reader->Signed("biHeight", 4) < 0) reader->Means("lines run from the top");
  reader->Number("biPlanes", 2);
  reader->Number("biBitCount", 2);
  const FourCC code = reader->Code("biCompression");
  reader->Means(CompressionName(code));
  reader->Number("biSizeImage", 4);
  reader->Signed("biXPelsPerMeter", 4);
  reader->Signed("biYPelsPerMeter", 4);
  reader->Number("biClrUsed", 4);
  reader->Number("biClrImportant", 4);
  reader->Raw("extra");
}

void ReadAudioFormatFields(FieldReader* reader) {
  const uint64_t tag = reader->Hex("wFormatTag", 2);
  reader->Means(WaveFormatName(static_cast<uint16_t>(tag)));
  reader->Number("nChannels", 2);
  reader->Number("nSamplesPerSec", 4);
  const uint64_t bytes = reader->Number("nAvgBytesPerSec", 4);
  reader->Means(fmt::format("{:.1f} kbit/s", static_cast<double>(bytes) * 8 / 1000));
  if (reader->Number("nBlockAlign", 2) == 0) reader->Means("0: no size of a block");
  reader->Number("wBitsPerSample", 2);
  const uint64_t extra = reader->Number("cbSize", 2);
  if (extra > reader->Left()) reader->Means(fmt::format("more than the {} bytes that follow", reader->Left()));
  if (tag == kExtensibleTag && reader->Left() >= kExtensibleBytes) ReadExtensible(reader);
  if (tag == kMp3Tag && reader->Left() >= kMp3Bytes) ReadMp3(reader);
  reader->Raw("extra");
}
