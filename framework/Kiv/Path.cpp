#include "framework/Kiv/Path.h"

namespace Kiv {

void appendPathKey(std::string& path, std::string_view key) {
  for (const char c : key) {
    if (c == '%') {
      path.append("%25");
    } else if (c == '/') {
      path.append("%2F");
    } else {
      path.push_back(c);
    }
  }
}

std::string pathKeyFromText(std::string_view step) {
  std::string key;
  while (!step.empty()) {
    if (step.starts_with("%25") || step.starts_with("%2F")) {
      key.push_back(step[2] == '5' ? '%' : '/');
      step.remove_prefix(3);
    } else {
      key.push_back(step.front());
      step.remove_prefix(1);
    }
  }
  return key;
}

}  // namespace Kiv
