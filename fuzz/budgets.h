#ifndef ZU_FUZZ_BUDGETS_H_
#define ZU_FUZZ_BUDGETS_H_

#include <algorithm>
#include <cstdint>

// What one call of the host may cost, whatever is in the file. Every number has its reason here; a call that goes
// beyond one is a finding.

/// What a budget goes by.
struct Subject {
  uint64_t file = 0;    ///< bytes that the source really has
  uint64_t length = 0;  ///< as the source says; 0: not known
  bool sound = true;    ///< no read of it fails
};

/// A call may also take so much for each read that it makes.
struct Budget {
  uint64_t reads = 0;
  uint64_t bytes = 0, bytesPerRead = 0;
  uint64_t lines = 0, linesPerRead = 0;
};

constexpr uint64_t kMiB = 1u << 20;

// Reads. A chunk header is looked at once by the walk or twice by a scan, and a search behind an empty chunk goes byte
// by byte: 2 a byte. A scan that fails is made again by every one of 22 tries, and a header takes 8 bytes: 22 / 8,
// rounded up, and the walk's 1. The rest does not depend on the file: 1001 reads in search of a chunk at each of 64
// open lists, 51 tries of 21 chunks, which probe and configure.
constexpr uint64_t kReadsPerByte = 2, kReadsPerByteOfFailing = 4, kReadsOfAnyFile = 70'000;
// All that is not a payload, a format or an index table is read in less: stream headers take 56 bytes, others 24.
constexpr uint64_t kSmallRead = 64;

// Lines. The bounded texts come to 1000 each in an open, of which there are less than ten, and to 100 each in a call
// for sound; the others stand for a read. Every chunk that a walk meets may have one, and takes 8 bytes.
constexpr uint64_t kLinesOfAnyFile = 12'000, kBytesPerLineOfOpen = 8, kLinesPerRead = 22;

// Bytes of an open: ceil(100 / 2) passes over the old index; 4 lengths of the file in OpenDML tables, each at most 64
// MiB while no length is known; one file of everything else, which is walked once.
constexpr uint64_t kIndexPasses = 50, kOpenDmlFactor = 4, kUnknownTable = 64 * kMiB;

// Bytes of a call for sound: ten tries, each with 1 MiB of search for a header, a last chunk behind it and what fills a
// carry-over buffer of 1 MiB. No file that a host can meet makes all of these large in all tries.
constexpr uint64_t kAudioBytes = 24 * kMiB, kAudioFactor = 4;

// Payloads of a call for pictures: 21 tries of one chunk each; what follows a damaged header is read in its place,
// which can come to nothing twice: a B picture in front of its reference is dropped once, and the last try ends the
// call.
constexpr uint64_t kVideoPayloads = 21 + 2;
// Re-joined pictures: the one asked for and 50 in search of an I picture, of 21 chunks each. A chunk goes to a buffer
// of the parser's own, so the host's does not limit it.
constexpr uint64_t kSplitPayloads = (1 + 50) * 21, kSplitBuffer = kMiB;
// H.264 parameter sets in front of a picture.
constexpr uint64_t kConfigBytes = 1000;

// Heap: what grows with the file is its index tables, twice while one is moved, and its chunk tree. One format of 16
// MiB with its copy, and four buffers of 1 MiB, do not. While no length is known, tables of 64 MiB are believed.
constexpr uint64_t kHeapFactor = 16, kHeapOfAnyFile = 40 * kMiB, kHeapOfUnknown = 300 * kMiB;

constexpr uint64_t HeapBudget(const Subject& subject) {
  return kHeapFactor * std::max(subject.file, subject.length) + kHeapOfAnyFile +
         (subject.length == 0 ? kHeapOfUnknown : 0);
}

/// For calls that only look at what is known, seeks too: none reads the source.
constexpr Budget QueryBudget() { return {.lines = kLinesOfAnyFile}; }

constexpr Budget ReadingBudget(const Subject& subject, uint64_t bytes) {
  const uint64_t perByte = subject.sound ? kReadsPerByte : kReadsPerByteOfFailing;
  return {.reads = perByte * subject.file + kReadsOfAnyFile,
          .bytes = bytes,
          .bytesPerRead = kSmallRead,
          .lines = kLinesOfAnyFile,
          .linesPerRead = kLinesPerRead};
}

constexpr Budget OpenBudget(const Subject& subject) {
  const uint64_t tables = subject.length ? std::max(subject.file, subject.length) : kUnknownTable;
  Budget budget = ReadingBudget(subject, (kIndexPasses + 1) * subject.file + kOpenDmlFactor * tables);
  budget.lines += subject.file / kBytesPerLineOfOpen;
  budget.linesPerRead = 0;
  return budget;
}

/// A configuration may be looked for in the first frame.
constexpr Budget ConfigBudget(const Subject& subject) { return ReadingBudget(subject, subject.file); }

constexpr Budget AudioBudget(const Subject& subject) {
  return ReadingBudget(subject, kAudioBytes + kAudioFactor * subject.file);
}
constexpr Budget VideoBudget(const Subject& subject, uint64_t maxLen, bool mayBeSplit) {
  const uint64_t payload = std::min(maxLen, subject.file);
  const uint64_t rejoined = std::min(std::max(maxLen, kSplitBuffer), subject.file);
  return ReadingBudget(subject, mayBeSplit ? kSplitPayloads * rejoined : kVideoPayloads * payload + kConfigBytes);
}
constexpr Budget TextBudget(const Subject& subject, uint64_t maxLen) {
  return ReadingBudget(subject, std::min(maxLen, subject.file));
}

#endif  // ZU_FUZZ_BUDGETS_H_
