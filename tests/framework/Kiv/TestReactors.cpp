#include "tests/framework/Kiv/TestReactors.h"

KIV_REACTOR_DEFINE(KivTest::ChildSm)
KIV_NESTED_REACTOR_DEFINE(KivTest::LeafSm)
KIV_REACTOR_DEFINE(KivTest::ParentSm)
KIV_REACTOR_DEFINE(KivTest::PlainSm)

namespace KivTest {

KIV_FACTORY_DEFINE(ChildSm, childSmFactory)

ChildSm::ChildSm(ChildSmAttributes attributes)
    : Reactor(std::move(attributes)), inputSubscription_(*this, input) {}
ChildSm::~ChildSm() { script->step("child " + std::string(name.view()) + " destroyed"); }
void ChildSm::start() { script->step("child " + std::string(name.view()) + " starts"); }
void ChildSm::inputDispatch(Pith::Publisher* /*publisher*/, Pith::Subscriber* /*subscriber*/,
                            Pith::FieldId field, const void* /*key*/,
                            const Pith::Change* /*change*/) {
  const std::string text = "child " + std::string(name.view());
  if (field == Box::numberField) script->step(text + " told");
  if (field == Box::textField) script->step(text + " told of text");
}

LeafSm::~LeafSm() { script->step("leaf destroyed"); }
void LeafSm::handleNotifier() {
  script->step("leaf " + std::string(notifier()->name().view()) + " watched");
}
void LeafSm::onAttribute(Pith::FieldId field, const void* /*key*/, const Pith::Change* change) {
  if (field != Leaf::numberField) return;
  const auto number = *static_cast<const std::uint32_t*>(change->current);
  script->step("leaf " + std::string(notifier()->name().view()) + " is " + std::to_string(number));
}

ParentSm::ParentSm(ParentSmAttributes attributes)
    : Reactor(std::move(attributes)),
      inputSubscription_(*this, input),
      secondInputSubscription_(*this, secondInput) {}
ParentSm::~ParentSm() { script->step("parent destroyed"); }
void ParentSm::start() { script->step("parent starts"); }
void ParentSm::cleanup() { script->step("parent cleanup"); }
void ParentSm::inputDispatch(Pith::Publisher* /*publisher*/, Pith::Subscriber* /*subscriber*/,
                             Pith::FieldId field, const void* key, const Pith::Change* change) {
  if (field == Box::numberField) {
    script->step("parent told " +
                 std::to_string(*static_cast<const std::uint32_t*>(change->current)));
  } else if (field == Box::namesField) {
    script->step("parent told of " + std::string(static_cast<const Pith::String*>(key)->view()));
  }
}
void ParentSm::secondInputDispatch(Pith::Publisher* /*publisher*/, Pith::Subscriber* /*subscriber*/,
                                   Pith::FieldId /*field*/, const void* /*key*/,
                                   const Pith::Change* /*change*/) {
  script->step("parent told by second");
}

Pith::Ptr<ChildSm> ParentSm::childSmIs(const Pith::String& name,
                                       const Pith::Ptr<const Box>& childInput,
                                       const Pith::Ptr<Box>& childOutput) {
  return childSm_.is(name, {name, childInput, childOutput, this});
}
Pith::Ptr<ChildSm> ParentSm::childSmIs(ChildSmAttributes attributes) {
  const Pith::String name = attributes.name;
  return childSm_.is(name, std::move(attributes));
}
Pith::Ptr<ChildSm> ParentSm::onlySmIs(const Pith::Ptr<const Box>& childInput,
                                      const Pith::Ptr<Box>& childOutput) {
  return onlySm_.is({"only", childInput, childOutput, this});
}
Pith::Ptr<LeafSm> ParentSm::leafSmIs(const Pith::Ptr<const Leaf>& leaf) {
  return leafSm_.is(*this, leaf->name(), leaf);
}

PlainSm::PlainSm(PlainSmAttributes attributes)
    : Reactor(std::move(attributes)), inputSubscription_(*this, input) {
  script->step("plain constructed");
}
void PlainSm::start() {}
void PlainSm::cleanup() { script->step("plain cleanup"); }
void PlainSm::inputDispatch(Pith::Publisher* /*publisher*/, Pith::Subscriber* /*subscriber*/,
                            Pith::FieldId /*field*/, const void* /*key*/,
                            const Pith::Change* /*change*/) {
  script->step("plain told");
}

}  // namespace KivTest
