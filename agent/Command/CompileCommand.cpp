#include <sstream>

#include "agent/Command/Commands.h"
#include "agent/Process/Candidate.h"
#include "agent/Process/ExitStatus.h"
#include "agent/Process/Output.h"
#include "agent/Store/Reconcile.h"
#include "agent/View/CompiledText.h"
#include "agent/View/CompiledTree.h"

namespace Agent {

namespace {

int compile(const CommonOptions& options, const Arguments& given) {
  const std::string& format = given.text("--format");
  Timing timing(options);
  int status = done;
  Store store;
  {
    const auto document = loadChecked(given.texts("FILE"), options, timing, status);
    if (!document) return status;
    apply(planOf(store, document->root), store);
    timing.step("publish");
  }
  store.start();
  timing.step("compile");
  std::string text;
  if (format == "text") {
    std::ostringstream tables;
    printCompiled(tables, *store.hwConfig, textStyle(options, given.flag("--all")));
    text = tables.str();
  } else {
    text = compiledTree(store, format == "json");
  }
  status = writeOutput(text, given.text("--output"));
  timing.step("show");
  store.stop();
  timing.step("stop");
  return status;
}

}  // namespace

Command compileCommand() {
  return {.name = "compile",
          .summary = "the tables that the hardware gets",
          .example = "compile --format json examples/campus",
          .options = {filesArgument(), formatOption("text|json|yaml"), outputOption(),
                      Option::flag("--all", "do not cut long lists")},
          .run = compile};
}

}  // namespace Agent
