// The indexes of the configuration and of the output, each compared with the walk that it saves.
//
//   TestSupport::IndexWalks indexes;
//   EXPECT_EQ(indexes.fault(*hwConfig, {cli, api}), "");
//
// Names that were there before are asked for as well, since an index may keep what has gone.
#pragma once

#include <set>
#include <string>
#include <vector>

#include "model/Firewall/Config.h"
#include "model/Firewall/HwConfig.h"

namespace TestSupport {

class IndexWalks {
 public:
  // The first difference; empty when there is none.
  std::string fault(const Firewall::HwConfig& hwConfig,
                    const std::vector<Firewall::Config::Ptr>& configs);

 private:
  void classUsers(const Firewall::HwConfig& hwConfig);
  void segmentDir(const Firewall::FwSegmentDir& directory);
  void vrf(const Firewall::FwVrf& vrf);
  void rulesOfServices(const Firewall::Config& config);
  void segmentsNaming(const Firewall::SegmentDir& directory);
  void globalPrefixes(const Firewall::Vrf& vrf);
  template <class T>
  void expectSame(const char* index, const Pith::String& name, const std::vector<T>& indexed,
                  const std::vector<T>& walked);

  std::set<Pith::String> classNames_;
  std::set<Pith::String> services_;
  std::set<Pith::String> segments_;
  std::set<Pith::String> policies_;
  std::set<Lanx::IpGenAddrWithMask> subnets_;
  std::string fault_;
};

}  // namespace TestSupport
