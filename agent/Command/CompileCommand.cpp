#include <sstream>

#include "agent/Command/Commands.h"
#include "agent/Store/Reconcile.h"
#include "agent/View/CompiledText.h"
#include "agent/View/CompiledTree.h"

namespace Agent {

int compileCommand(const CommonOptions& options, const Files& files, Format format,
                   const std::string& output) {
  Timing timing(options);
  int status = done;
  Store store;
  {
    const auto document = loadChecked(files, options, timing, status);
    if (!document) return status;
    apply(planOf(store, document->root), store);
    timing.step("publish");
  }
  store.start();
  timing.step("compile");
  std::string text;
  if (format == Format::text) {
    std::ostringstream tables;
    printCompiled(tables, *store.hwConfig, textStyle(options));
    text = tables.str();
  } else {
    text = compiledTree(store, format == Format::json);
  }
  status = writeOutput(text, output);
  timing.step("show");
  store.stop();
  timing.step("stop");
  return status;
}

}  // namespace Agent
