#include "model/Firewall/ListSource.h"

#include "framework/Kiv/Text.h"
#include "framework/Pith/RangeException.h"

namespace Firewall {
namespace {

constexpr std::string_view matchListPrefix = "matchList:";
constexpr std::string_view prefixListPrefix = "prefixList:";

}  // namespace

ListSource::Alternative ListSource::alternative() const {
  if (tag_ > 2) {
    Pith::RangeException::throwException("Firewall::ListSource::tag > 2 (bad union access)");
  }
  return static_cast<Alternative>(tag_);
}

Pith::String ListSource::name() const {
  return alternative() == Alternative::none ? Pith::String() : name_;
}

void ListSource::appendTo(std::string& out) const {
  switch (tag_) {
    case 0:
      out.append("none");
      return;
    case 1:
      out.append(matchListPrefix);
      break;
    case 2:
      out.append(prefixListPrefix);
      break;
    default:
      out.append("tag ");
      Kiv::appendText(out, tag_);
      out.push_back(':');
  }
  out.append(name_.view());
}

ListSource ListSource::parse(std::string_view text) {
  if (text == "none") return {};
  if (text.starts_with(matchListPrefix)) return matchList(text.substr(matchListPrefix.size()));
  if (text.starts_with(prefixListPrefix)) return prefixList(text.substr(prefixListPrefix.size()));
  Kiv::Impl::throwBadText("list source", text, "none, matchList:NAME or prefixList:NAME");
}

Pith::String getListSourceName(const ListSource& source) { return source.name(); }

}  // namespace Firewall
