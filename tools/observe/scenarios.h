#ifndef ZU_TOOLS_OBSERVE_SCENARIOS_H_
#define ZU_TOOLS_OBSERVE_SCENARIOS_H_

#include <functional>
#include <string>
#include <vector>

#include "zu_parser_avi/iparser.h"

using Bytes = std::vector<uint8_t>;

struct Factory {
  IParser* (*create)();
  void (*destroy)(IParser*);
};

/// What a host does to a parser while its source behaves in some way. All of it is told as events.
struct Scenario {
  std::string name;
  std::function<void(const Factory& factory, const Bytes& file, const Bytes& other)> play;
};

std::vector<Scenario> Scenarios();

#endif  // ZU_TOOLS_OBSERVE_SCENARIOS_H_
