#include "bench/shelf.h"

ReadyFile& Shelf::Get(const FileRow& row) {
  if (m_ready && m_name == row.name) return *m_ready;
  m_ready.reset();
  auto ready = std::make_unique<ReadyFile>(row, m_folder / "bench.avi");
  ready->delivered = CheckDelivery(ready->file, ready->onDisk, ready->inMemory);
  CheckDelivery(ready->file, ready->inMemory, ready->inMemory);
  m_name = row.name;
  m_ready = std::move(ready);
  return *m_ready;
}
