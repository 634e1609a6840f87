#ifndef ZU_AVIFILE_FILE_VIEW_H_
#define ZU_AVIFILE_FILE_VIEW_H_

#include <cstdint>

#include "avifile/riff_header.h"
#include "base/bytes.h"
#include "source/source_reader.h"

/// The file being parsed, as everything that reads it sees it: a position, reads, and what is known of its length.
/// Owns nothing: the reader is the caller's and outlives every use of the view.
class FileView {
 public:
  explicit FileView(AVISourceReader* reader) : m_pReader(reader) {}

  AVISourceReader* Reader() const { return m_pReader; }

  void Seek(long position) { m_pReader->AVI_fseek(position, 0); }
  void Seek(uint64_t position) { Seek(static_cast<long>(position)); }
  void Skip(long count) { m_pReader->AVI_fseek(count, 1); }
  /// Back over the four bytes behind a chunk's size: a header is read with a list's form type, and they are data.
  void StepBackOverType() { Skip(-4); }
  /// Back to the start of the header just read.
  void StepBackOverHeader() { Skip(-static_cast<long>(kRiffHeaderBytes)); }

  /// Every byte of the file comes through here. @param buf  `size` bytes of the caller's.
  /// @return bytes delivered, possibly fewer than `size`; 0 at the end; the source's negative status.
  int Read(void* buf, uint32_t size) { return m_pReader->AVI_fread(buf, size, 1); }
  /// Reads FourCC, size and the four bytes behind them, which are a list's form type or a chunk's first data.
  /// @return 12; 0 at the end and for a header cut short; the source's negative status.
  int ReadHeader(SRIFF* riff) {
    uint8_t raw[kRiffHeaderBytes];
    const int nRead = Read(raw, kRiffHeaderBytes);
    if (nRead < 0) return nRead;
    if (nRead < static_cast<int>(kRiffHeaderBytes)) return 0;
    *riff = {LoadLe32(raw), LoadLe32(raw + 4), LoadLe32(raw + 8)};
    return nRead;
  }

  /// The position, with a message.
  long Tell() const { return m_pReader->AVI_ftell(); }
  /// The same without one.
  long Position() const { return m_pReader->Position(); }

  bool IsStreaming() const { return m_pReader->AVI_IsStreamingSource() != 0; }
  /// Asks the source. @return the end of readable data; 0 when it is not known.
  long AskLength() { return m_pReader->AVI_FileLength_hdl(); }
  /// A source without an end is read as far as the file's own size says, which is a claim and no length.
  void LimitTo(uint32_t riffSize) { m_pReader->AVI_FileGroupSize_set(riffSize); }
  /// Bytes of the file from `offset` on, by the length that the source told last; `unknown` when it has none.
  uint64_t Rest(uint64_t offset, uint64_t unknown) const {
    const uint64_t size = static_cast<uint64_t>(m_pReader->KnownLength());
    if (size == 0) return unknown;
    return offset < size ? size - offset : 0;
  }

 private:
  AVISourceReader* m_pReader;
};

#endif  // ZU_AVIFILE_FILE_VIEW_H_
