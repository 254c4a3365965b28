#include <charconv>
#include <iostream>
#include <sstream>

#include "agent/Command/Commands.h"
#include "agent/Schema/Check.h"
#include "agent/Schema/Values.h"
#include "agent/Schema/Warnings.h"
#include "agent/Store/Reconcile.h"
#include "agent/View/Explain.h"

namespace Agent {
namespace {

bool isNumber(const std::string& text, std::uint32_t& number) {
  const auto [stop, failed] = std::from_chars(text.data(), text.data() + text.size(), number);
  return failed == std::errc() && stop == text.data() + text.size();
}

}  // namespace

int explainCommand(const CommonOptions& options, const Files& files, Explained what,
                   const std::string& in, const std::string& which) {
  std::uint32_t number = 0;
  if ((what == Explained::rule || what == Explained::hardwareRule) && !isNumber(which, number)) {
    return fail(refused, inQuotes(which) + " is not a number");
  }
  std::string canonical;
  const Kiv::ValueData& prefix = Kiv::valueDataOf<Lanx::IpGenPrefix>();
  if (what == Explained::prefix && !canonicalText(prefix, which, canonical)) {
    return fail(refused, inQuotes(which) + " is not " + wantedText(prefix));
  }
  const Kiv::ValueData& vrf = Kiv::valueDataOf<L3::VrfName>();
  if ((what == Explained::prefix || what == Explained::segment) &&
      !canonicalText(vrf, in, canonical)) {
    return fail(refused, inQuotes(in) + " is not " + wantedText(vrf));
  }
  Timing timing(options);
  Diagnostics diagnostics;
  const Document document = loadInto(files, options, timing, diagnostics);
  const bool isStrict = options.strict && diagnostics.warnings() != 0;
  if (diagnostics.errors() != 0 || isStrict) diagnostics.print(std::cerr, messageStyle(options));
  if (diagnostics.errors() != 0) return diagnostics.isUnreadable() ? unreachable : refused;
  Store store;
  apply(planOf(store, document.root), store);
  store.start();
  timing.step("compile");
  std::ostringstream text;
  Explainer explainer(document.root, store, diagnostics, text);
  bool isFound = false;
  switch (what) {
    case Explained::rule:
      isFound = explainer.rule(in, number);
      break;
    case Explained::hardwareRule:
      isFound = explainer.hardwareRule(in, number);
      break;
    case Explained::prefix:
      isFound = explainer.prefix(in, which);
      break;
    default:
      isFound = explainer.segment(in, which);
      break;
  }
  const int written = writeOutput(text.str(), {});
  return written != done ? written : isFound && !isStrict ? done : answerIsNo;
}

}  // namespace Agent
