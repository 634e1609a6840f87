#ifndef ZU_TESTS_SUPPORT_COMPLEXITY_H_
#define ZU_TESTS_SUPPORT_COMPLEXITY_H_

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "tests/support/host.h"

// Files of any size made to cost much, and a host that measures what each of its calls costs.

/// A file and how its source behaves.
struct Feed {
  Bytes bytes;
  Bytes endless = {};               ///< follows `bytes` over and over, for ever
  bool streaming = false;           ///< of unknown length
  std::vector<int64_t> seen = {};   ///< what GetSize says first; after that the whole length
  int64_t blockedFrom = INT64_MAX;  ///< a read that reaches beyond would block
};

class MeteredSource : public IDataSource {
 public:
  explicit MeteredSource(Feed feed) : m_feed(std::move(feed)) {}
  int Prepare() override { return 0; }
  int GetSize(int64_t* length) override;
  int ReadAt(int64_t offset, void* buffer, uint64_t* length) override;
  int SetPosition(int64_t, int) override { return 0; }
  int IsStreaming() override { return m_feed.streaming; }
  size_t Size() const { return m_feed.bytes.size(); }

  size_t reads = 0, bytes = 0;  ///< calls, and bytes delivered

 private:
  Feed m_feed;
  size_t m_asked = 0;
};

/// What one call cost, lines at log level 1. An endless call costs at most some million reads, which all fail then.
struct Cost {
  int status = 0;
  size_t length = 0;
  uint32_t timeMs = 0;
  size_t reads = 0, bytes = 0, lines = 0;
  size_t heap = 0, largest = 0, copied = 0;  ///< bytes: most held, largest block, copied by realloc
  double cpuMs = 0;
};

class Meter {
 public:
  explicit Meter(Feed feed);
  ~Meter();
  Meter(const Meter&) = delete;
  Meter& operator=(const Meter&) = delete;
  IParser* operator->() const { return m_parser; }
  size_t FileSize() const { return m_source.Size(); }

  Cost Open();
  Cost Get(uint32_t kind, unsigned long room = kHostBuffer);  ///< a delivery call
  Cost Measure(const std::function<Unit()>& call);
  /// Opens, configures, and gets three times of video and audio, a seek in between: every call's cost, with a name.
  std::vector<std::pair<std::string, Cost>> Session();

 private:
  DebugLevelGuard m_level;
  MeteredSource m_source;
  const long m_heapBefore;
  IParser* const m_parser;
};

Bytes Repeat(const Bytes& unit, size_t times);
/// A main group of streams, each a strl list's children, and what stands behind its header list.
Bytes Movie(const std::vector<Bytes>& streams, const Data& rest, std::optional<uint32_t> declared = {});
Bytes AudioStream(uint32_t tag);
Bytes VideoStream(const std::string& fourcc);
/// A movi list and a legacy index of stream 0.
Bytes OldIndexed(const Data& movi, const Data& entries);
Bytes OldEntry(const std::string& id, size_t offset, size_t size);
/// A movie of one chunk that `entries` index entries name.
Bytes OneRegion(const Bytes& stream, const std::string& id, const Bytes& region, size_t entries);
/// The payload of an indx or ix## chunk for "00dc"; `type` 0 is an index of indexes, 1 of chunks.
Bytes NewIndexOf(uint8_t type, uint32_t count, const Data& entries);

struct ComplexityFile {
  enum EKind { kPlain, kSplitVideo, kBlocks };
  const char* name;
  Feed (*make)(size_t bytes);  ///< of about so many bytes; what is streamed never ends with 0
  EKind kind = kPlain;
};
const std::vector<ComplexityFile>& ComplexityFiles();

#endif  // ZU_TESTS_SUPPORT_COMPLEXITY_H_
