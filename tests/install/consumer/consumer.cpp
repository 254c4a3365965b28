// A program outside of the tree, perhaps of another compiler than the installed libraries: an error
// that they raise is caught as its own type, and a change that they tell has the identifier that
// the headers gave this program.
#include <Firewall/Sources/RootDirSm.h>
#include <framework/Kiv/Dir.h>
#include <framework/Kiv/Inspector.h>
#include <framework/Pith/RangeException.h>
#include <model/Acl/PrefixList.h>
#include <model/Classification/AppRecognition.h>
#include <model/Firewall/Config.h>
#include <model/Firewall/HwCapability.h>
#include <model/Firewall/HwConfig.h>
#include <model/Interface/AllIntfStatusDir.h>
#include <model/Ip/Status.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <string>
#include <string_view>
#include <vector>

namespace {

bool allRight = true;

void expect(bool holds, std::string_view what) {
  if (holds) return;
  allRight = false;
  std::printf("WRONG: %s\n", std::string(what).c_str());
}

// Notes which fields of an object it is told of.
class Listener {
 public:
  explicit Listener(const Kiv::Entity& object) : subscriber_(this, &Listener::told) {
    object.publisher().subscriberAdd(subscriber_);
  }
  bool heard(Pith::FieldId field) const {
    return std::find(fields_.begin(), fields_.end(), field) != fields_.end();
  }
  bool heardOnly(Pith::FieldId field) const { return heard(field) && fields_.size() == 1; }

 private:
  static void told(void* self, Pith::Publisher*, Pith::Subscriber*, Pith::FieldId field,
                   const void*, const Pith::Change*) {
    static_cast<Listener*>(self)->fields_.push_back(field);
  }

  std::vector<Pith::FieldId> fields_;
  Pith::Subscriber subscriber_;
};

void errorIsCaughtAsItsOwnType() {
  try {
    Pith::RangeException::throwException("Consumer::value > 1");
  } catch (const Pith::RangeException& error) {
    std::puts(error.what());
    expect(std::strcmp(error.what(), "Consumer::value > 1 not allowed") == 0,
           "the text of an error");
    return;
  }
}

// Written by the library's code, heard by this program.
void changeHasTheIdentifierOfTheHeader(Kiv::Entity& top, const char* object, const char* step,
                                       const char* text, Pith::FieldId field) {
  auto& written = dynamic_cast<Kiv::Entity&>(*Kiv::objectAt(top, object));
  const Listener listener(written);
  const std::string path = *object == '\0' ? step : std::string(object) + "/" + step;
  Kiv::Inspector(top).write(path, text);
  expect(listener.heardOnly(field), path);
}

void changesOfTheConfiguration(Firewall::Config& config) {
  using Firewall::Config;
  using Firewall::Policy;
  using Firewall::Segment;
  using Firewall::Vrf;
  const auto check = [&](const char* object, const char* step, const char* text,
                         Pith::FieldId field) {
    changeHasTheIdentifierOfTheHeader(config, object, step, text, field);
  };
  check("", "policy/web", "", Config::policyField);
  check("", "vrf/default", "", Config::vrfField);
  check("", "forwardType", "routed", Config::forwardTypeField);
  check("policy/web", "rule/10", "service=any,action=forward", Policy::ruleField);
  check("vrf/default", "segment/users", "", Vrf::segmentField);
  check("vrf/default", "prefix/10.1.0.0%2F16", "users", Vrf::prefixField);
  check("vrf/default/segment/users", "className", "c", Segment::classNameField);
  check("vrf/default/segment/users", "policy/users", "web", Segment::policyField);
  check("vrf/default/segment/users", "fallbackPolicy", "web", Segment::fallbackPolicyField);
}

// Written by this program, handled by the reactors, and what they write is heard here.
void reactorsHearAndAreHeard() {
  const auto sources = Kiv::make<Kiv::Dir>();
  const auto hwConfig = Kiv::make<Firewall::HwConfig>();
  const auto root = Firewall::rootDirSmFactory(
      sources, hwConfig, Kiv::make<Firewall::Status>(), Kiv::make<Interface::AllIntfStatusDir>(),
      Kiv::make<Ip::Status>(), Kiv::make<Kiv::Dir>(),
      Kiv::make<Classification::AppRecognitionConfig>(),
      Kiv::make<Classification::FieldSetConfig>(),
      Kiv::make<Classification::AppRecognitionStatus>(), Kiv::make<Firewall::HwCapability>(),
      Kiv::make<Acl::AclListConfig>());
  const auto config = sources->newEntity<Firewall::Config>("cli");
  {
    const Listener output(*hwConfig);
    config->enabledIs(true);
    expect(output.heard(Firewall::HwConfig::activeField), "HwConfig.active");
    config->policyIs("web");
    config->vrfIs("default");
    expect(output.heard(Firewall::HwConfig::policyField), "HwConfig.policy");
    expect(output.heard(Firewall::HwConfig::vrfField), "HwConfig.vrf");
  }
  const auto segment = config->vrf("default")->segmentIs("users");
  const auto fwSegment = hwConfig->vrf("default")->segment("users");
  {
    const Listener output(*fwSegment);
    segment->fallbackPolicyIs("web");
    expect(output.heardOnly(Firewall::FwSegment::fallbackPolicyField), "FwSegment.fallbackPolicy");
  }
  {
    const Listener output(*fwSegment);
    segment->policyIs("users", "web");
    expect(output.heardOnly(Firewall::FwSegment::fromSegmentField), "FwSegment.fromSegment");
  }
  root->cleanup();
}

}  // namespace

int main() {
  errorIsCaughtAsItsOwnType();
  changesOfTheConfiguration(*Kiv::make<Firewall::Config>("cli"));
  reactorsHearAndAreHeard();
  return allRight ? 0 : 1;
}
