#ifndef ZU_TESTS_SUPPORT_SOURCES_H_
#define ZU_TESTS_SUPPORT_SOURCES_H_

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "tests/support/avi_builder.h"
#include "zu_parser_avi/idata_source.h"
#include "zu_parser_avi/status.h"

/// One call of ReadAt: what was asked for.
struct ReadCall {
  int64_t offset;
  uint64_t length;
  bool operator==(const ReadCall&) const = default;
};
void PrintTo(const ReadCall& read, std::ostream* out);

/// A source made of pieces, zero between them, of any length. Records how it is used.
class SparseSource : public IDataSource {
 public:
  SparseSource(std::vector<Piece> pieces, uint64_t length) : m_pieces(std::move(pieces)), m_length(length) {}
  /// The whole file, as long as its last group reaches.
  explicit SparseSource(const AviFile& file);

  /// From now on of unknown length. Reads at the end give `statusAtEnd`: AVI_END_OF_STREAM, or 0 with no bytes.
  void Stream(int statusAtEnd = AVI_END_OF_STREAM);

  int Prepare() override { return Note('P'); }
  int GetSize(int64_t* length) override;
  int ReadAt(int64_t offset, void* buffer, uint64_t* length) override;
  int SetPosition(int64_t offset, int origin) override { return Note(offset == 0 && origin == 0 ? 'S' : '?'); }
  int IsStreaming() override { return m_streaming; }

  std::vector<ReadCall> reads;
  std::string calls;  ///< Prepare as P and SetPosition(0, 0) as S, in order; another SetPosition is a question mark

 private:
  int Note(char call) { return calls += call, 0; }

  std::vector<Piece> m_pieces;
  uint64_t m_length;
  bool m_streaming = false;
  int m_statusAtEnd = AVI_END_OF_STREAM;
};

class MemorySource : public SparseSource {
 public:
  explicit MemorySource(const Bytes& bytes) : SparseSource({{0, bytes}}, bytes.size()) {}
};

/// What goes wrong, for the reads `first` to `last`, counted from 0.
struct Fault {
  size_t first = 0, last = SIZE_MAX;
  int status = 0;              ///< if negative, the result; nothing is delivered
  uint64_t most = UINT64_MAX;  ///< delivers at most so many bytes
  uint64_t divide = 1;         ///< delivers this part of the wanted bytes, rounded up
  uint64_t claim = 0;          ///< says that it delivered so many bytes more than wanted
};

/// The fault for one read alone.
inline Fault OnRead(size_t number, Fault fault) { return fault.first = fault.last = number, fault; }

/// Another source with a fault.
class FaultySource : public IDataSource {
 public:
  explicit FaultySource(IDataSource& inner, const Fault& fault = {}) : m_inner(inner), m_fault(fault) {}
  /// Takes another fault and counts the reads from here.
  void Arm(const Fault& fault) { m_fault = fault, m_reads = 0; }
  size_t Reads() const { return m_reads; }

  int Prepare() override { return m_inner.Prepare(); }
  int GetSize(int64_t* length) override { return m_inner.GetSize(length); }
  int ReadAt(int64_t offset, void* buffer, uint64_t* length) override;
  int SetPosition(int64_t offset, int origin) override { return m_inner.SetPosition(offset, origin); }
  int IsStreaming() override { return m_inner.IsStreaming(); }

 private:
  IDataSource& m_inner;
  Fault m_fault;
  size_t m_reads = 0;
};

#endif  // ZU_TESTS_SUPPORT_SOURCES_H_
