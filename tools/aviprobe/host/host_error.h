#ifndef ZU_TOOLS_AVIPROBE_HOST_HOST_ERROR_H_
#define ZU_TOOLS_AVIPROBE_HOST_HOST_ERROR_H_

#include <stdexcept>

/// Why the tool cannot do what it was asked, in words for its user.
struct HostError : std::runtime_error {
  using std::runtime_error::runtime_error;
};

#endif  // ZU_TOOLS_AVIPROBE_HOST_HOST_ERROR_H_
