// Does all steps of a piece of work, whatever one of them throws, and raises the first exception at
// the end of its scope.
//
//   Kiv::AllSteps steps;
//   steps.run([&] { child->cleanup(); });
//   steps.run([&] { childDel(); });        // also when cleanup() threw
//                                          // raised here, behind all that the scope does
//
// For work that must be completed whatever a subscriber throws at it. A scope that is itself left
// by an exception raises that one. A function that returns an object ends the steps in a scope of
// their own before it returns: what a destructor throws may leave the returned object behind.
#pragma once

#include <exception>
#include <utility>

namespace Kiv {

class AllSteps {
 public:
  AllSteps() noexcept = default;
  AllSteps(const AllSteps&) = delete;
  AllSteps& operator=(const AllSteps&) = delete;
  ~AllSteps() noexcept(false) {  // NOLINT(bugprone-exception-escape)
    if (first_ && std::uncaught_exceptions() == underWay_) {
      std::rethrow_exception(std::exchange(first_, nullptr));
    }
  }

  // Does the step now.
  template <class Step>
  void run(const Step& step) {
    try {
      step();
    } catch (...) {
      if (first_) return;
      first_ = std::current_exception();
      underWay_ = std::uncaught_exceptions();  // those that this one will not be among
    }
  }

 private:
  std::exception_ptr first_;
  int underWay_ = 0;  // exceptions that were leaving scopes when the step ran
};

}  // namespace Kiv
