// Lives of a switch: the same changes to the library and to the plain model, compared after each.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "tests/plain/Change.h"
#include "tests/plain/RealSwitch.h"

namespace Plain {

using History = std::vector<std::string>;

// The library and the plain model side by side.
class Life {
 public:
  // Makes the change to both and says what is wrong after it: where the two differ, or where the
  // library does not keep its promises. A change for which something is missing is left out.
  std::string after(const std::string& line);
  // The same after everything was removed from the inputs, one collection after the other, and the
  // root was stopped; then the output has to be empty.
  std::string end();

  // Of the last change: what the library wrote, and its words when it refused it.
  const Lines& writes() const { return writes_; }
  const std::string& refusal() const { return refusal_; }
  RealSwitch& real() { return real_; }

 private:
  std::string check();

  Model model_;
  ModelInputs inputs_ = ModelInputs(model_);
  RealSwitch real_;
  Lines writes_;
  std::string refusal_;
};

// The lines that are told where the two differ, or where the library does not keep its promises;
// empty when all is well. Everything is removed at the end, and every object must be gone.
std::string differenceIn(const History& history);

// A part of the history that still differs, from which no line can be left out.
History shrunk(History history, const std::function<bool(const History&)>& differs);

// As the argument of a test.
std::string asTest(const History& history);

}  // namespace Plain
