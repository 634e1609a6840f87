#ifndef ZU_TOOLS_AVIPROBE_MODEL_BLOCK_READER_H_
#define ZU_TOOLS_AVIPROBE_MODEL_BLOCK_READER_H_

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>

#include "tools/aviprobe/host/file_source.h"

/// A file's bytes, read in blocks: what is looked at close together costs one read.
class BlockReader {
 public:
  /// @param blockBytes  of one read: small for headers far apart, large for reading on and on.
  BlockReader(FileSource& source, size_t blockBytes);

  /// The bytes at a position, until the next call: `count` of them, at most half a block, or fewer where the file ends;
  /// none outside the file. @throw HostError when they cannot be read.
  std::span<const uint8_t> At(int64_t at, size_t count);

  int64_t Size() const { return m_Source.Size(); }

 private:
  void Load(int64_t at);

  FileSource& m_Source;
  size_t m_nBlockBytes;
  std::unique_ptr<uint8_t[]> m_pBlock;
  int64_t m_nBlockAt = 0;
  int64_t m_nLoaded = 0;  // bytes in the block
};

#endif  // ZU_TOOLS_AVIPROBE_MODEL_BLOCK_READER_H_
