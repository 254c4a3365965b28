#include <sstream>

#include "agent/Command/Commands.h"
#include "agent/Store/Reconcile.h"
#include "agent/View/CompiledText.h"
#include "agent/View/CompiledTree.h"

namespace Agent {

int compileCommand(const CommonOptions& options, const Files& files, Format format,
                   const std::string& output) {
  Timing timing(options.timing);
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
  std::ostringstream text;
  if (format == Format::text) {
    printCompiled(text, *store.hwConfig, textStyle(options));
  } else {
    text << compiledTree(store, format == Format::json);
  }
  status = writeOutput(text.str(), output);
  timing.step("show");
  store.stop();
  timing.step("stop");
  return status;
}

}  // namespace Agent
