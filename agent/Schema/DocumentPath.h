// Where a walk stands in a document, as text only when it is asked for: "source/cli/policy/web".
// Control characters are \xNN there, and long steps are cut.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "agent/Document/Diagnostics.h"
#include "framework/Pith/Printable.h"

namespace Agent {

class DocumentPath {
 public:
  // One step down for as long as it lives.
  class Step {
   public:
    Step(DocumentPath& path, std::string_view name) : path_(path) { path.steps_.push_back(name); }
    Step(const Step&) = delete;
    Step& operator=(const Step&) = delete;
    ~Step() { path_.steps_.pop_back(); }

   private:
    DocumentPath& path_;
  };

  std::string text() const {
    std::string result;
    for (const std::string_view step : steps_) {
      if (!result.empty()) result.push_back('/');
      Pith::appendPrintable(result, cut(step, longest));
      if (step.size() > longest) result.append("...");
    }
    return result;
  }

 private:
  static constexpr std::size_t longest = 120;

  std::vector<std::string_view> steps_;
};

}  // namespace Agent
