#ifndef ZU_TESTS_AVIPROBE_TEMP_FILE_H_
#define ZU_TESTS_AVIPROBE_TEMP_FILE_H_

#include <gtest/gtest.h>
#include <stdlib.h>
#include <unistd.h>

#include <cstdio>
#include <string>

#include "tests/support/avi_builder.h"

/// A file with these bytes while it lives.
class TempFile {
 public:
  explicit TempFile(const Bytes& bytes) : m_sPath(testing::TempDir() + "aviprobe-XXXXXX") {
    std::FILE* file = fdopen(mkstemp(m_sPath.data()), "wb");
    EXPECT_EQ(std::fwrite(bytes.data(), 1, bytes.size(), file), bytes.size());
    std::fclose(file);
  }
  ~TempFile() { unlink(m_sPath.c_str()); }
  TempFile(const TempFile&) = delete;
  TempFile& operator=(const TempFile&) = delete;
  const std::string& Path() const { return m_sPath; }

 private:
  std::string m_sPath;
};

#endif  // ZU_TESTS_AVIPROBE_TEMP_FILE_H_
