#ifndef ZU_TOOLS_AVIPROBE_HOST_PARSER_LIBRARY_H_
#define ZU_TOOLS_AVIPROBE_HOST_PARSER_LIBRARY_H_

#include <memory>
#include <string>

#include "zu_parser_avi/iparser.h"

/// Closes and destroys a parser. `Close` comes first always: it is harmless before `Open` and after one that failed.
struct ParserCloser {
  decltype(&destroyParser) pDestroy;
  void operator()(IParser* parser) const {
    parser->Close();
    pDestroy(parser);
  }
};
using ParserHandle = std::unique_ptr<IParser, ParserCloser>;

/// The mask of messages that a verbosity stands for, as the library keeps it in `debug_level`; 0 is silence. Opens the
/// log library for all of them.
int LogMask(int verbosity);

/// The parser library in memory. Must outlive the parsers that it made.
class ParserLibrary {
 public:
  /// @param path       the shared library; empty: look beside the tool, where the build or the package puts it, and
  ///                   where the dynamic loader looks.
  /// @param verbosity  how much the library logs: 0 what the environment says, by default nothing; 1 errors and
  ///                   notices; 2 debugging too; 3 every source read too.
  /// @throw HostError when there is no such library or it lacks the entry points.
  ParserLibrary(const std::string& path, int verbosity);

  /// A new parser; null is never returned.
  ParserHandle CreateParser() const;

 private:
  struct Unloader {
    void operator()(void* handle) const;
  };
  std::unique_ptr<void, Unloader> m_pHandle;
  decltype(&createParser) m_pCreate = nullptr;
  decltype(&destroyParser) m_pDestroy = nullptr;
};

#endif  // ZU_TOOLS_AVIPROBE_HOST_PARSER_LIBRARY_H_
