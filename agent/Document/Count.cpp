#include "agent/Document/Count.h"

namespace Agent {

std::string grouped(std::uint64_t number) {
  std::string text = std::to_string(number);
  for (std::size_t at = text.size(); at > 3; at -= 3) text.insert(at - 3, 1, ',');
  return text;
}

std::string counted(std::uint64_t number, std::string_view what) {
  return grouped(number) + " " + std::string(what) + (number == 1 ? "" : "s");
}

}  // namespace Agent
