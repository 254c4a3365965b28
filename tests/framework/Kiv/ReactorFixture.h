// A parent reactor with its inputs, for tests of reactors.
#pragma once

#include <gtest/gtest.h>

#include "tests/framework/Kiv/TestReactors.h"
#include "tests/support/LiveCounts.h"

namespace KivTest {

class ReactorFixture : public testing::Test {
 protected:
  ReactorFixture() { script = &script_; }
  // Whatever a test does, everything is gone afterwards.
  ~ReactorFixture() override {
    script_.actions.clear();
    parent_ = nullptr;
    input_ = second_ = output_ = nullptr;
    leaf_ = nullptr;
    EXPECT_EQ(TestSupport::liveCounts(), before_);
    script = nullptr;
  }

  void makeParent() { parent_ = ParentSm::ParentSmIs(input_, second_, output_); }
  // With a child of each kind.
  void makeFamily() {
    makeParent();
    parent_->childSmIs("a", input_, output_);
    parent_->onlySmIs(input_, output_);
    parent_->leafSmIs(leaf_);
  }

  Script script_;
  const std::map<std::string, std::uint64_t> before_ = TestSupport::liveCounts();
  Pith::Ptr<Box> input_ = Kiv::make<Box>();
  Pith::Ptr<Box> second_ = Kiv::make<Box>();
  Pith::Ptr<Box> output_ = Kiv::make<Box>();
  Pith::Ptr<Leaf> leaf_ = Kiv::make<Leaf>("leaf");
  Pith::Ptr<ParentSm> parent_;
};

}  // namespace KivTest
