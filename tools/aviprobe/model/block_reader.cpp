#include "tools/aviprobe/model/block_reader.h"

#include <algorithm>

#include "zu_parser_avi/status.h"

BlockReader::BlockReader(FileSource& source, size_t blockBytes)
    : m_Source(source), m_nBlockBytes(blockBytes), m_pBlock(std::make_unique_for_overwrite<uint8_t[]>(blockBytes)) {}

std::span<const uint8_t> BlockReader::At(int64_t at, size_t count) {
  if (at < 0 || at >= Size()) return {};
  const int64_t wanted = std::min({static_cast<int64_t>(count), static_cast<int64_t>(m_nBlockBytes / 2), Size() - at});
  if (at < m_nBlockAt || at + wanted > m_nBlockAt + m_nLoaded) Load(at);
  const int64_t there = std::clamp<int64_t>(m_nBlockAt + m_nLoaded - at, 0, wanted);
  return {m_pBlock.get() + (at - m_nBlockAt), static_cast<size_t>(there)};
}

void BlockReader::Load(int64_t at) {
  // Where a pad byte is in doubt, the byte before is looked at next.
  m_nBlockAt = std::max<int64_t>(at - 1, 0);
  uint64_t length = m_nBlockBytes;
  m_nLoaded = 0;
  if (m_Source.ReadAt(m_nBlockAt, m_pBlock.get(), &length) == AVI_IO_ERROR) throw m_Source.ParseError();
  m_nLoaded = static_cast<int64_t>(length);
}
