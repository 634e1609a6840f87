#ifndef ZU_FUZZ_FUZZ_SUPPORT_H_
#define ZU_FUZZ_FUZZ_SUPPORT_H_

#include <fuzzer/FuzzedDataProvider.h>

#include <cstddef>
#include <cstdint>
#include <vector>

#include "fuzz/budgets.h"
#include "zu_parser_avi/iparser.h"

/// Reports `what` as a finding unless `ok`.
void Require(bool ok, const char* what);
/// The same unless there are at most so many.
void RequireAtMost(uint64_t count, uint64_t most, const char* what);

/// Splits an input into a body at its front and, at its end, the bytes from which the caller then draws its decisions.
/// The last two bytes tell how many those are. An exhausted provider draws the smallest value, so plain files with two
/// zeros behind them are good seeds.
std::vector<uint8_t> TakeBody(FuzzedDataProvider& input, size_t most);

/// Value of the log property for the parsers made from now on.
void SetLogLevel(const char* level);

// A run is a parser's whole life. When it ends normally, no block of the heap may be left and at most `mostBytes` may
// have been in use at once; when it ends by a fatal overflow, the blocks left are freed in the dead process's place.
[[noreturn]] void EndByFatalOverflow();
void Run(void (*body)(void*), void* argument, size_t mostBytes);
template <typename Body>
void Run(Body body, size_t mostBytes) {
  Run([](void* argument) { (*static_cast<Body*>(argument))(); }, &body, mostBytes);
}

/// What happens to the reads `first` to `last`, counted from 0.
struct Fault {
  size_t first = 0, last = 0;
  int status = 0;              ///< the result; nothing is delivered when it is negative
  uint64_t most = UINT64_MAX;  ///< delivers at most so many bytes
  uint64_t claim = 0;          ///< says that it delivered so many bytes more
};

/// A source in memory. Reports a read beyond the parser's own memory as a finding.
class FuzzSource final : public IDataSource {
 public:
  explicit FuzzSource(const std::vector<uint8_t>& bytes) : length(static_cast<int64_t>(bytes.size())), m_bytes(bytes) {}

  /// The result of one call of the host. That it costs more than `budget` is a finding.
  template <typename Call>
  auto Within(const Budget& budget, Call call) {
    BeginCall(budget);
    const auto result = call();
    EndCall();
    return result;
  }
  Subject AsSubject() const;
  /// Reads so far.
  size_t Reads() const { return m_reads; }

  int Prepare() override { return 0; }
  int GetSize(int64_t* size) override { return *size = length, 0; }
  int ReadAt(int64_t offset, void* buffer, uint64_t* count) override;
  int SetPosition(int64_t, int) override { return 0; }
  int IsStreaming() override { return streaming; }

  int64_t length;  ///< as it says
  bool streaming = false;
  int statusAtEnd = AVI_END_OF_STREAM;
  std::vector<Fault> faults;

 private:
  void BeginCall(const Budget& budget);
  void EndCall() const;

  const std::vector<uint8_t>& m_bytes;
  size_t m_reads = 0;
  Budget m_budget;
  uint64_t m_readsOfCall = 0, m_bytesOfCall = 0;
};

struct Unit {
  int status;
  unsigned long len;
};

/// One data operation for a track of kind AVI_TRACK_..., into a block of exactly `maxLen` bytes.
Unit Pull(IParser* parser, FuzzSource& source, uint32_t kind, uint8_t* block, unsigned long maxLen,
          bool keyOnly = false);

#endif  // ZU_FUZZ_FUZZ_SUPPORT_H_
