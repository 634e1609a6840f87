#ifndef ZU_PLUGIN_CARRY_BUFFER_H_
#define ZU_PLUGIN_CARRY_BUFFER_H_

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <cstring>

#include "base/limits.h"

/// AVI_CARRY_BYTES of memory that carry audio from one call to the next. Bytes leave at the front by moving a head, and
/// the rest moves down only when something is appended. The owner calls Free: its own destructor leaves that to Close.
class CarryBuffer {
 public:
  /// Empties it. The block is made when it is first needed, for of most files not every kind of track is played.
  void Prepare() {
    Free();
    m_bPrepared = true;
  }
  void Free() {
    std::free(m_pBlock);
    *this = CarryBuffer();
  }
  /// Whether there is a block; the first call behind Prepare makes it, zeroed. A failure leaves none for good.
  bool IsReady() { return m_pBlock || (m_bPrepared && MakeBlock()); }

  uint8_t* front() { return m_pBlock + m_nHead; }
  size_t size() const { return m_nSize; }
  size_t space() const { return AVI_CARRY_BYTES - m_nSize; }

  /// Where the next bytes go: space() bytes behind the last one held, the front moved to the start of the block.
  uint8_t* Tail() {
    if (m_nHead && m_nSize) std::memmove(m_pBlock, front(), m_nSize);
    m_nHead = 0;
    return m_pBlock + m_nSize;
  }
  /// Tells that `count` bytes, at most space(), were put at Tail(); they are not held yet.
  void MarkWritten(size_t count) { m_nWritten = std::max(m_nWritten, m_nSize + count); }
  /// Puts `count` bytes, at most space(), at Tail(); they are not held yet.
  void Put(const uint8_t* bytes, size_t count) {
    std::memcpy(Tail(), bytes, count);
    MarkWritten(count);
  }
  /// Holds `count` of the bytes at Tail().
  void Append(size_t count) { m_nSize += std::min(count, space()); }
  void drop_front(size_t count) {
    count = std::min(count, m_nSize);
    m_nHead += count;
    m_nSize -= count;
  }
  /// Drops bytes at the back until `count` are left; those at the front stay where they are.
  void keep_front(size_t count) { m_nSize = std::min(count, m_nSize); }
  /// Empties and zeroes the buffer; what was never written is zero already.
  void clear() {
    if (m_nWritten) std::memset(m_pBlock, 0, m_nWritten);
    m_nHead = m_nSize = m_nWritten = 0;
  }

 private:
  [[gnu::cold]] bool MakeBlock() {
    m_bPrepared = false;
    m_pBlock = static_cast<uint8_t*>(std::calloc(AVI_CARRY_BYTES, 1));
    return m_pBlock != nullptr;
  }

  uint8_t* m_pBlock = nullptr;
  bool m_bPrepared = false;  // and no block made yet
  size_t m_nHead = 0;
  size_t m_nSize = 0;
  size_t m_nWritten = 0;  // of the block, since it was last zero
};

#endif  // ZU_PLUGIN_CARRY_BUFFER_H_
