// How far a reactor is in its life: it works, and its handlers do something, from its
// handleInitialized() to its cleanup().
//
// `initialized` says that the former has begun, and stays. What is taken down does not come back,
// and is taken down once: that is what isWorking() is for.
#pragma once

namespace Firewall {

class Stage {
 public:
  bool initialized() const noexcept { return initialized_; }
  bool isWorking() const noexcept { return isWorking_; }

  void begin() noexcept { initialized_ = isWorking_ = true; }
  void end() noexcept { isWorking_ = false; }

 private:
  bool initialized_ = false;
  bool isWorking_ = false;
};

}  // namespace Firewall
