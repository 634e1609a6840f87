#include "tests/support/sources.h"

#include <algorithm>
#include <cstring>
#include <ostream>

void PrintTo(const ReadCall& read, std::ostream* out) { *out << read.length << " bytes at " << read.offset; }

SparseSource::SparseSource(const AviFile& file) : m_pieces(file.far) {
  m_pieces.insert(m_pieces.begin(), {0, file.bytes});
  m_length = m_pieces.back().first + m_pieces.back().second.size();
}

void SparseSource::Stream(int statusAtEnd) {
  m_streaming = true;
  m_statusAtEnd = statusAtEnd;
}

int SparseSource::GetSize(int64_t* length) {
  *length = m_streaming ? 0 : static_cast<int64_t>(m_length);
  return 0;
}

int SparseSource::ReadAt(int64_t offset, void* buffer, uint64_t* length) {
  reads.push_back({offset, *length});
  if (offset < 0) return AVI_IO_ERROR;
  const uint64_t from = static_cast<uint64_t>(offset);
  const uint64_t wanted = *length;
  *length = from < m_length ? std::min(wanted, m_length - from) : 0;
  if (*length == 0 && wanted != 0) return m_statusAtEnd;
  const auto out = static_cast<uint8_t*>(buffer);
  std::fill_n(out, *length, uint8_t{0});
  for (const auto& [at, bytes] : m_pieces) {
    const uint64_t begin = std::max(from, at);
    const uint64_t end = std::min(from + *length, at + bytes.size());
    if (begin < end) std::memcpy(out + (begin - from), bytes.data() + (begin - at), end - begin);
  }
  return 0;
}

int FaultySource::ReadAt(int64_t offset, void* buffer, uint64_t* length) {
  const size_t n = m_reads++;
  if (n < m_fault.first || n > m_fault.last) return m_inner.ReadAt(offset, buffer, length);
  if (m_fault.status < 0) return m_fault.status;
  const uint64_t wanted = *length;
  *length = std::min(m_fault.most, wanted / m_fault.divide + (wanted % m_fault.divide != 0));
  const int status = m_inner.ReadAt(offset, buffer, length);
  if (m_fault.claim) *length = wanted + m_fault.claim;
  return status;
}
