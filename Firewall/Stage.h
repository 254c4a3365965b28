// How far a reactor is in its life: it works, and its handlers do something, from its
// handleInitialized() to its cleanup().
//
// initialized() is true from the start of handleInitialized() on, for good. isWorking() becomes
// false at cleanup(), so that a reactor is taken down once and does not come back.
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
