#include "tools/aviprobe/model/field_reader.h"

#include <fmt/format.h>

#include <algorithm>
#include <string_view>

#include "tools/aviprobe/model/little_endian.h"
#include "tools/aviprobe/text/names.h"

std::span<const uint8_t> FieldReader::Take(const std::string& name, size_t bytes) {
  m_bTaken = bytes <= Left();
  if (!m_bTaken) {
    m_nAt = m_Bytes.size();
    return {};
  }
  const auto taken = m_Bytes.subspan(m_nAt, bytes);
  m_Fields.push_back({m_nOffset + static_cast<int64_t>(m_nAt), name, {}, {}});
  m_nAt += bytes;
  return taken;
}

void FieldReader::Shows(const std::string& raw) {
  if (m_bTaken) m_Fields.back().sRaw = raw;
}

void FieldReader::Means(const std::string& meaning) {
  if (m_bTaken) m_Fields.back().sMeaning = meaning;
}

uint64_t FieldReader::Number(const std::string& name, size_t bytes) {
  const uint64_t value = LittleEndian(Take(name, bytes), 0, bytes);
  Shows(std::to_string(value));
  return value;
}

int64_t FieldReader::Signed(const std::string& name, size_t bytes) {
  const auto unused = static_cast<int>(64 - 8 * bytes);
  const int64_t value = static_cast<int64_t>(LittleEndian(Take(name, bytes), 0, bytes) << unused) >> unused;
  Shows(std::to_string(value));
  return value;
}

uint64_t FieldReader::Hex(const std::string& name, size_t bytes) {
  const uint64_t value = LittleEndian(Take(name, bytes), 0, bytes);
  Shows(fmt::format("0x{:0{}x}", value, 2 * bytes));
  return value;
}

FourCC FieldReader::Code(const std::string& name) {
  const auto raw = Take(name, 4);
  const FourCC code = raw.empty() ? FourCC() : FourCC(raw.data());
  Shows(Printable(code.Text()));
  return code;
}

void FieldReader::Raw(const std::string& name, size_t bytes) {
  constexpr size_t kMost = 32;
  bytes = std::min(bytes, Left());
  if (bytes == 0) return;
  std::string shown;
  const auto raw = Take(name, bytes);
  for (const uint8_t byte : raw.first(std::min(kMost, bytes))) shown += fmt::format("{:02x}", byte);
  Shows(shown + (bytes > kMost ? "..." : ""));
  Means(fmt::format("{} bytes", bytes));
}

void FieldReader::Text(const std::string& name) {
  const auto raw = Take(name, Left());
  const auto end = std::find(raw.begin(), raw.end(), 0);
  Shows(Printable(std::string(raw.begin(), end)));
}
