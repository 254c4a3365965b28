// Keeps the first exception of a series of steps until all of them are done.
//
//   Kiv::Deferred steps;
//   steps.run([&] { child->cleanup(); });
//   steps.run([&] { childDel(); });        // also when cleanup() threw
//   steps.rethrow();
//
// For work that must be completed whatever a subscriber throws at it.
#pragma once

#include <exception>
#include <utility>

namespace Kiv {

class Deferred {
 public:
  template <class Step>
  void run(const Step& step) {
    try {
      step();
    } catch (...) {
      if (!first_) first_ = std::current_exception();
    }
  }
  // Raises the first exception, if there was one.
  void rethrow() {
    if (first_) std::rethrow_exception(std::exchange(first_, nullptr));
  }

 private:
  std::exception_ptr first_;
};

}  // namespace Kiv
