// Reactors with every kind of part, whose steps a test can watch and join in.
#pragma once

#include <functional>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include "framework/Kiv/Factory.h"
#include "framework/Kiv/Reactor.h"
#include "tests/framework/Kiv/TestTypes.h"

namespace KivTest {

// What happened, in order, and what a test wants to happen at a step.
struct Script {
  std::vector<std::string> log;
  std::map<std::string, std::function<void()>> actions;  // by the text that is logged

  void step(const std::string& text) {
    log.push_back(text);
    const auto action = actions.find(text);
    if (action == actions.end()) return;
    const std::function<void()> run = action->second;  // which may change the script
    run();
  }
};
// The one of the test that runs; null outside.
inline Script* script = nullptr;

// A node that says when it goes.
class Witness : public Pith::Node {
 public:
  explicit Witness(std::string name) : name_(std::move(name)) {}

 protected:
  ~Witness() override { script->step(name_ + " released"); }

 private:
  std::string name_;
};

class ParentSm;

struct ChildSmAttributes {
  Pith::String name;
  Pith::Ptr<const Box> input;
  Pith::Ptr<Box> output;
  ParentSm* parentSm = nullptr;
  KIV_FIELDS(name, input, output, parentSm)
};

class ChildSm final : public Kiv::Reactor<ChildSm, ChildSmAttributes> {
  KIV_REACTOR(ChildSm)

  const Pith::String& childName() const { return name; }
  ParentSm* parent() const { return parentSm; }
  void inputDispatch(Pith::Publisher* publisher, Pith::Subscriber* subscriber, Pith::FieldId field,
                     const void* key, const Pith::Change* change);

 protected:
  ~ChildSm() override;

 private:
  explicit ChildSm(ChildSmAttributes attributes);
  void start();

  Kiv::Subscription<&ChildSm::inputDispatch> inputSubscription_;
};

KIV_FACTORY(ChildSm, childSmFactory)

// Nested: watches one leaf.
class LeafSm final : public Kiv::NestedReactor<LeafSm, ParentSm, Leaf> {
  KIV_NESTED_REACTOR(LeafSm, ParentSm)
  void handleNotifier();
  void onAttribute(Pith::FieldId field, const void* key, const Pith::Change* change);

  using NestedReactor::owner;

 protected:
  ~LeafSm() override;
};

struct ParentSmAttributes {
  Pith::Ptr<const Box> input;
  Pith::Ptr<const Box> secondInput;
  Pith::Ptr<Box> output;
  KIV_FIELDS(input, secondInput, output)
};

class ParentSm final : public Kiv::Reactor<ParentSm, ParentSmAttributes> {
  KIV_REACTOR(ParentSm)
  KIV_CHILD_REACTORS(ChildSm, childSm, ChildSmKeyFunktor, Pith::String)
  KIV_CHILD_REACTOR(ChildSm, onlySm)
  KIV_CHILD_REACTORS(LeafSm, leafSm, LeafSmKeyFunktor, Pith::String)

  static constexpr bool cleanupOnDestruction = true;

  Pith::Ptr<ChildSm> childSmIs(const Pith::String& name, const Pith::Ptr<const Box>& childInput,
                               const Pith::Ptr<Box>& childOutput);
  Pith::Ptr<ChildSm> onlySmIs(const Pith::Ptr<const Box>& childInput,
                              const Pith::Ptr<Box>& childOutput);
  Pith::Ptr<LeafSm> leafSmIs(const Pith::Ptr<const Leaf>& leaf);
  // A child whose back pointer differs from the one that childSmIs() gives.
  Pith::Ptr<ChildSm> childSmIs(ChildSmAttributes attributes);

  void inputDispatch(Pith::Publisher* publisher, Pith::Subscriber* subscriber, Pith::FieldId field,
                     const void* key, const Pith::Change* change);
  void secondInputDispatch(Pith::Publisher* publisher, Pith::Subscriber* subscriber,
                           Pith::FieldId field, const void* key, const Pith::Change* change);
  void cleanup();

  // Goes when the members do.
  void witnessIs(Pith::Ptr<Witness> witness) { witness_ = std::move(witness); }

 protected:
  ~ParentSm() override;

 private:
  explicit ParentSm(ParentSmAttributes attributes);
  void start();

  Kiv::Subscription<&ParentSm::inputDispatch> inputSubscription_;
  Kiv::Subscription<&ParentSm::secondInputDispatch> secondInputSubscription_;
  Pith::Ptr<Witness> witness_;
};

// Has a cleanup() that does not run on destruction, and a constructor that the script may make
// fail.
struct PlainSmAttributes {
  Pith::Ptr<const Box> input;
  Pith::Ptr<Witness> witness;
  KIV_FIELDS(input)
};

class PlainSm final : public Kiv::Reactor<PlainSm, PlainSmAttributes> {
  KIV_REACTOR(PlainSm)
  void inputDispatch(Pith::Publisher* publisher, Pith::Subscriber* subscriber, Pith::FieldId field,
                     const void* key, const Pith::Change* change);
  void cleanup();

 private:
  explicit PlainSm(PlainSmAttributes attributes);
  void start();

  Kiv::Subscription<&PlainSm::inputDispatch> inputSubscription_;
};

}  // namespace KivTest
