#ifndef ZU_BENCH_AVI_WRITER_H_
#define ZU_BENCH_AVI_WRITER_H_

#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <memory>
#include <span>
#include <string>
#include <vector>

#include "tests/support/avi_builder.h"

/// Where a chunk's data stand in the file.
struct ChunkRef {
  uint64_t offset;  ///< of the data, behind the 8 bytes of header
  uint32_t size;    ///< bytes of data
  uint16_t stream;
  bool key;
};

/// A run of bytes of the file.
struct FileRange {
  uint64_t offset, size;
};

struct AviStream {
  StreamHeader header;  ///< `length` is filled in by the writer: chunks, or samples where these have a size
  Bytes format;         ///< the payload of strf
};

enum class IndexKind { kNone, kLegacy, kOpenDml };

/// What was written where: all that a reader would have to find out.
struct AviLayout {
  std::vector<ChunkRef> chunks;    ///< in file order
  uint64_t headerBytes = 0;        ///< from the start of the file to the first chunk's header
  std::vector<FileRange> indexes;  ///< the data of idx1, or each ix## with its header
  std::vector<uint16_t> indexed;   ///< the stream of each of these, for ix##
  uint64_t fileBytes = 0;
};

/// Writes an AVI file of any length straight to disk. Keeps nothing of it but the places of its chunks, which the index
/// at the end needs anyway. Throws std::runtime_error when the disk refuses.
class AviWriter {
 public:
  /// @param indexChunks  with OpenDML: how many ix## each stream may get; their super index stands in front of them.
  AviWriter(const std::filesystem::path& path, std::vector<AviStream> streams, IndexKind index,
            uint32_t microSecPerFrame, size_t indexChunks = 0);

  void Chunk(uint16_t stream, std::span<const uint8_t> data, bool key = true);
  /// An ix## for each stream that got chunks since its last one.
  void ChunkIndexes();
  /// Ends the RIFF group, with its ix##, and begins an AVIX group.
  void NextRiff();
  AviLayout Finish();

 private:
  Bytes HeaderList() const;
  void Write(std::span<const uint8_t> bytes);
  void WriteAt(uint64_t position, const Bytes& bytes);
  void BeginGroup(const std::string& type, const Bytes& header);
  void EndGroup();
  void LegacyIndex();
  std::string ChunkId(uint16_t stream) const;

  struct CloseFile {
    void operator()(std::FILE* file) const { std::fclose(file); }
  };
  std::unique_ptr<std::FILE, CloseFile> m_file;
  std::vector<AviStream> m_streams;
  IndexKind m_index;
  uint32_t m_microSecPerFrame;
  size_t m_indexChunks;
  uint64_t m_at = 0;              // position of the next byte
  uint64_t m_group = 0;           // of the current RIFF header
  uint64_t m_movi = 0;            // of the current movi list's header
  std::vector<size_t> m_pending;  // per stream: the first chunk, by number in the layout, without an ix##
  std::vector<Bytes> m_super;     // per stream: entries of its super index
  AviLayout m_layout;
};

#endif  // ZU_BENCH_AVI_WRITER_H_
