// The switch with the library in it, driven by the same lines of changes as the plain model.
#pragma once

#include "tests/plain/Change.h"
#include "tests/support/WriteRecorder.h"

namespace Firewall {
class RootDirSm;
}

namespace Plain {

class RealSwitch {
 public:
  RealSwitch();
  RealSwitch(const RealSwitch&) = delete;
  RealSwitch& operator=(const RealSwitch&) = delete;
  ~RealSwitch();

  void apply(const Change& change);
  void stop();

  // "path = text" of the whole output, sorted; and what the reactors have written since.
  Lines dump();
  Lines takeWrites();
  Lines takeStatusWrites();
  std::uint32_t openHandles() const;
  // What is wrong between the outputs; empty when nothing is.
  std::string complaint() const;

 private:
  struct Objects;
  std::unique_ptr<Objects> objects_;
};

}  // namespace Plain
