#include <functional>
#include <iostream>
#include <sstream>

#include "agent/Command/Commands.h"
#include "agent/Document/Number.h"
#include "agent/Process/Candidate.h"
#include "agent/Process/ExitStatus.h"
#include "agent/Process/Output.h"
#include "agent/Schema/Values.h"
#include "agent/Store/Reconcile.h"
#include "agent/View/Explain.h"

namespace Agent {
namespace {

// Writes what it finds; whether there is such a thing.
using Ask = std::function<bool(Explainer&)>;

int explain(const CommonOptions& options, const Arguments& given, const Ask& ask) {
  Timing timing(options);
  Diagnostics diagnostics;
  const Document document = loadInto(given.texts("--file"), options, timing, diagnostics);
  const bool isStrict = options.strict && diagnostics.warnings() != 0;
  if (diagnostics.errors() != 0 || isStrict) diagnostics.print(std::cerr, messageStyle(options));
  if (diagnostics.errors() != 0) return diagnostics.isUnreadable() ? unreachable : refused;
  Store store;
  apply(planOf(store, document.root), store);
  store.start();
  timing.step("compile");
  std::ostringstream text;
  Explainer explainer(document.root, store, diagnostics, text);
  const bool isFound = ask(explainer);
  const int written = writeOutput(text.str(), {});
  return written != done ? written : isFound && !isStrict ? done : answerIsNo;
}

int explainNumber(const CommonOptions& options, const Arguments& given, const std::string& which,
                  bool (Explainer::*explained)(std::string_view, std::uint32_t)) {
  std::uint32_t number = 0;
  if (!isNumber(which, number)) return fail(refused, inQuotes(which) + " is not a number");
  return explain(options, given, [&](Explainer& explainer) {
    return (explainer.*explained)(given.text("POLICY"), number);
  });
}

int explainRule(const CommonOptions& options, const Arguments& given) {
  return explainNumber(options, given, given.text("SEQ"), &Explainer::rule);
}

int explainHardwareRule(const CommonOptions& options, const Arguments& given) {
  return explainNumber(options, given, given.text("RULEID"), &Explainer::hardwareRule);
}

int explainPrefix(const CommonOptions& options, const Arguments& given) {
  const std::string& vrf = given.text("VRF");
  const std::string& prefix = given.text("PREFIX");
  std::string wrong = wrongText(Kiv::valueDataOf<Lanx::IpGenPrefix>(), prefix);
  if (wrong.empty()) wrong = wrongText(Kiv::valueDataOf<L3::VrfName>(), vrf);
  if (!wrong.empty()) return fail(refused, wrong);
  return explain(options, given,
                 [&](Explainer& explainer) { return explainer.prefix(vrf, prefix); });
}

int explainSegment(const CommonOptions& options, const Arguments& given) {
  const std::string& vrf = given.text("VRF");
  const std::string wrong = wrongText(Kiv::valueDataOf<L3::VrfName>(), vrf);
  if (!wrong.empty()) return fail(refused, wrong);
  return explain(options, given,
                 [&](Explainer& explainer) { return explainer.segment(vrf, given.text("NAME")); });
}

}  // namespace

Command explainCommand() {
  const auto wanted = [](const char* name, const char* what) {
    return Option::argument(name, what).required();
  };
  return {
      .name = "explain",
      .summary = "where something comes from and what became of it",
      .example = "explain -f examples/campus rule to-servers 10",
      .options = {configurationOption()},
      .below = {{.name = "rule",
                 .summary = "a policy's rule to its hardware rules",
                 .example = "explain -f examples/campus rule to-servers 10",
                 .options = {wanted("POLICY", "the policy's name"),
                             wanted("SEQ", "the rule's sequence number")},
                 .run = explainRule},
                {.name = "hw",
                 .summary = "a hardware rule to its configuration",
                 .example = "explain -f examples/campus hw to-servers 41943041",
                 .options = {wanted("POLICY", "the policy's name"),
                             wanted("RULEID", "the identifier, as compile shows it")},
                 .run = explainHardwareRule},
                {.name = "prefix",
                 .summary = "who owns a prefix, and why",
                 .example = "explain -f examples/campus prefix default 10.20.5.0/24",
                 .options = {wanted("VRF", "the VRF's name"), wanted("PREFIX", "address/length")},
                 .run = explainPrefix},
                {.name = "segment",
                 .summary = "a segment's links",
                 .example = "explain -f examples/campus segment default servers",
                 .options = {wanted("VRF", "the VRF's name; \"l2\" for the L2 directory"),
                             wanted("NAME", "the segment's name")},
                 .run = explainSegment}}};
}

}  // namespace Agent
