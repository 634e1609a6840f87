#ifndef ZU_TOOLS_AVIPROBE_HOST_FILE_SOURCE_H_
#define ZU_TOOLS_AVIPROBE_HOST_FILE_SOURCE_H_

#include <cstdint>
#include <string>

#include "tools/aviprobe/host/host_error.h"
#include "zu_parser_avi/idata_source.h"

/// The bytes of a file, for the parser to read. Anything with random access will do, a block device too.
class FileSource final : public IDataSource {
 public:
  /// @param streaming  hide the length, as a source that is still being received does.
  /// @throw HostError that starts with the file's name when it cannot be opened or has no random access.
  FileSource(const std::string& path, bool streaming);
  ~FileSource() override;
  FileSource(const FileSource&) = delete;
  FileSource& operator=(const FileSource&) = delete;

  // Called from inside the parser, which has no exceptions: nothing here throws.
  int Prepare() noexcept override { return 0; }
  int GetSize(int64_t* length) noexcept override;
  int ReadAt(int64_t offset, void* buffer, uint64_t* length) noexcept override;
  int SetPosition(int64_t, int) noexcept override { return 0; }
  int IsStreaming() noexcept override { return m_bStreaming; }

  int64_t Size() const { return m_nSize; }
  /// What to tell about the file when it could not be parsed: that a read failed, or that it is no such file.
  HostError ParseError() const;

 private:
  std::string m_sPath;
  int m_nFd;
  int64_t m_nSize = 0;
  bool m_bStreaming;
  int m_nErrno = 0;  // of the last read that failed
};

#endif  // ZU_TOOLS_AVIPROBE_HOST_FILE_SOURCE_H_
