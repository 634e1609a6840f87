#include "tools/aviprobe/host/parser_library.h"

#include <dlfcn.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <iterator>

#include "tools/aviprobe/host/host_error.h"

namespace {

constexpr char kPlainName[] = "libzu_parser_avi.so";
constexpr char kLevelVariable[] = "ZUCP_DEBUG_LEVEL";
constexpr int kLevels[] = {0, 1, 7, 15};  // by verbosity
constexpr int32_t kLowestPriority = 2;    // VERBOSE in the log library's numbering

}  // namespace

int LogMask(int verbosity) {
  // The log library drops what is below INFO unless told otherwise, which not every version of it can be.
  using SetPriority = int32_t (*)(int32_t);
  const auto setPriority = reinterpret_cast<SetPriority>(dlsym(RTLD_DEFAULT, "__android_log_set_minimum_priority"));
  if (setPriority) setPriority(kLowestPriority);
  return kLevels[std::clamp(verbosity, 0, static_cast<int>(std::size(kLevels)) - 1)];
}

void ParserLibrary::Unloader::operator()(void* handle) const { dlclose(handle); }

ParserLibrary::ParserLibrary(const std::string& path, int verbosity) {
  // A name without a slash would make the loader search instead of taking the file that the user means.
  const std::string file = path.empty() ? kPlainName : std::filesystem::absolute(path).string();
  m_pHandle.reset(dlopen(file.c_str(), RTLD_NOW | RTLD_LOCAL));
  if (!m_pHandle) throw HostError(dlerror());
  m_pCreate = reinterpret_cast<decltype(m_pCreate)>(dlsym(m_pHandle.get(), "createParser"));
  m_pDestroy = reinterpret_cast<decltype(m_pDestroy)>(dlsym(m_pHandle.get(), "destroyParser"));
  if (!m_pCreate || !m_pDestroy) throw HostError(file + ": has no createParser and destroyParser");

  // The library asks for its level each time it makes a parser.
  const int mask = LogMask(verbosity);
  setenv(kLevelVariable, std::to_string(mask).c_str(), mask != 0);
}

ParserHandle ParserLibrary::CreateParser() const {
  IParser* parser = m_pCreate();
  if (!parser) throw HostError("no memory for a parser");
  return ParserHandle(parser, ParserCloser{m_pDestroy});
}
