#ifndef ZU_TOOLS_AVIPROBE_MODEL_FIELD_READER_H_
#define ZU_TOOLS_AVIPROBE_MODEL_FIELD_READER_H_

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "tools/aviprobe/model/file_map.h"

/// Takes a record apart, field by field. A field that is not whole in the bytes is left out and reads as 0.
class FieldReader {
 public:
  /// @param offset  of the bytes in the file.
  FieldReader(std::span<const uint8_t> bytes, int64_t offset) : m_Bytes(bytes), m_nOffset(offset) {}

  uint64_t Number(const std::string& name, size_t bytes);
  int64_t Signed(const std::string& name, size_t bytes);
  uint64_t Hex(const std::string& name, size_t bytes);
  FourCC Code(const std::string& name);
  /// So many bytes, or all that are left, as hex digits; of many only the first.
  void Raw(const std::string& name, size_t bytes = SIZE_MAX);
  /// A text up to its zero, or all that are left.
  void Text(const std::string& name);
  /// A field made by the caller of the next bytes. @return these; empty when they are not all there.
  std::span<const uint8_t> Take(const std::string& name, size_t bytes);
  void Shows(const std::string& raw);

  /// What the last field means.
  void Means(const std::string& meaning);

  size_t Left() const { return m_Bytes.size() - m_nAt; }
  std::vector<SField> Fields() && { return std::move(m_Fields); }

 private:
  std::span<const uint8_t> m_Bytes;
  int64_t m_nOffset;
  size_t m_nAt = 0;
  bool m_bTaken = false;  // the last field was there
  std::vector<SField> m_Fields;
};

#endif  // ZU_TOOLS_AVIPROBE_MODEL_FIELD_READER_H_
