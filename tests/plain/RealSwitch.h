// The switch with the library in it, driven by the same lines of changes as the plain model.
#pragma once

#include "framework/Kiv/Entity.h"
#include "tests/plain/Change.h"

namespace Firewall {
class RootDirSm;
}

namespace Plain {

class RealSwitch {
 public:
  // Whether the fake hardware agent and the recorders of writes are attached.
  enum class Watched { no, yes };

  explicit RealSwitch(Watched watched = Watched::yes);
  RealSwitch(const RealSwitch&) = delete;
  RealSwitch& operator=(const RealSwitch&) = delete;
  ~RealSwitch();

  void apply(const Change& change);
  void stop();

  // "path = text" of the whole output, sorted; and what the reactors have written since, the status
  // below "status/".
  Lines dump();
  Lines takeWrites();
  // What is broken, whatever has gone wrong before: an open work handle, an index that differs from
  // its walk. Empty when nothing is.
  std::string broken();
  // The same and what else is wrong: between the outputs, or by the fake hardware agent's word.
  std::string complaint();
  // Whether no VRF, policy, segment or service is in the output.
  bool isEmpty() const;
  // What the library writes.
  std::vector<Pith::Ptr<Kiv::Entity>> outputs() const;

 private:
  struct Objects;
  std::unique_ptr<Objects> objects_;
};

}  // namespace Plain
