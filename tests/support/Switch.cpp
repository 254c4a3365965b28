#include "tests/support/Switch.h"

namespace TestSupport {

Switch::Switch() = default;

Switch::~Switch() { stop(); }

void Switch::application(const std::string& name, std::uint8_t protocol,
                         const std::string& dstPorts, const std::string& srcPrefix) {
  if (!dstPorts.empty()) {
    const auto ports = fieldSetConfig->fieldSetL4PortIs(name)->subConfigIs(name);
    ports->portsDelAll();
    ports->portsIs(Classification::PortRange::parse(dstPorts));
  }
  if (!srcPrefix.empty()) {
    const auto prefixes = fieldSetConfig->fieldSetIpPrefixIs(name)->subConfigIs(name);
    prefixes->prefixesDelAll();
    prefixes->prefixesIs(Lanx::IpGenPrefix::parse(srcPrefix));
  }
  const auto app = appRecConfig->appIs(name);
  app->protoDelAll();
  app->protoIs({protocol, protocol});
  app->dstPortFieldSetIs(dstPorts.empty() ? "" : name);
  app->srcPrefixFieldSetIs(srcPrefix.empty() ? "" : name);
}

void Switch::interface(const std::string& name, const std::string& vrf) {
  const Lanx::IntfId intf{std::string_view(name)};
  intfStatusDir->intfStatusIs(intf);
  if (!vrf.empty()) ipStatus->ipIntfStatusIs(intf, L3::VrfName(std::string_view(vrf)));
}

Firewall::RootSm::Ptr Switch::rootSm(const std::string& sourceName) const {
  const auto source = root->rootFeatureSm(sourceName);
  return source ? source->rootSm() : nullptr;
}

void SwitchTest::SetUp() {
  liveBefore_ = liveCounts();
  switch_ = std::make_unique<Switch>();
}

void SwitchTest::TearDown() {
  switch_->stop();
  switch_->checkAtRest();
  switch_.reset();
  EXPECT_EQ(liveCounts(), liveBefore_);
}

}  // namespace TestSupport
