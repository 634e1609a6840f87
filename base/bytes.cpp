#include "base/bytes.h"

#include <algorithm>
#include <cstring>

ptrdiff_t FindStartCode(ByteSpan data, uint8_t code, ptrdiff_t from, ptrdiff_t end) {
  const ptrdiff_t last = std::min(end, static_cast<ptrdiff_t>(data.size()) - 3);
  ptrdiff_t at = std::max<ptrdiff_t>(from, 0);
  while (at < last) {
    // The 01 of the prefix is rarer than the zeros in front of it.
    const void* one = std::memchr(data.data() + at + 2, 1, static_cast<size_t>(last - at));
    if (!one) return kNotFound;
    at = static_cast<const uint8_t*>(one) - data.data() - 2;
    const uint8_t* prefix = data.data() + at;
    if (prefix[0] == 0 && prefix[1] == 0 && prefix[3] == code) return at;
    ++at;
  }
  return kNotFound;
}
