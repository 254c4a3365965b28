#include "agent/Document/Diagnostics.h"
#include "agent/Process/ExitStatus.h"
#include "agent/Server/Questions.h"
#include "agent/View/ObjectTree.h"
#include "agent/View/Text.h"
#include "framework/Kiv/Inspector.h"
#include "framework/Kiv/Path.h"
#include "framework/Pith/RangeException.h"

namespace Agent {
namespace {

Answer show(RunningConfiguration& running, const Words& words) {
  const std::string path = words.empty() ? "" : words.front();
  const Store& store = running.store();
  const std::size_t slash = path.find('/');
  const std::string first = path.substr(0, slash);
  std::string rest = slash == std::string::npos ? "" : path.substr(slash + 1);
  Kiv::Object* object = nullptr;
  std::string names;
  for (const Store::Named& named : store.objects()) {
    names.append(named.name).push_back('\n');
    if (named.name == first) object = named.object;
  }
  for (auto entry = store.fwConfigDir->entityPtrIteratorConst(); entry; ++entry) {
    std::string name = "source/";
    Kiv::appendPathKey(name, entry.key().view());
    names.append(name).push_back('\n');
    if (path == name || path.rfind(name + "/", 0) == 0) {
      object = store.source(entry.key()).get();
      rest = path.size() == name.size() ? "" : path.substr(name.size() + 1);
    }
  }
  if (path.empty()) return {done, names};
  if (object == nullptr)
    return {answerIsNo, "there is no " + inQuotes(path) + "; there is\n" + names};

  std::string text;
  const auto writer = TreeWriter::json(text);
  // A value or an entry, unless the path leads to an object.
  Kiv::Object* at = nullptr;
  try {
    at = rest.empty() ? object : Kiv::Inspector(*object).find(rest);
  } catch (const Pith::RangeException&) {
    const auto value = valueAt(*object, rest);
    if (!value) return {answerIsNo, "there is no " + inQuotes(path) + "\n"};
    return {done, *value + "\n"};
  }
  if (at == nullptr) return {answerIsNo, "there is no " + inQuotes(path) + "\n"};
  writeObject(*writer, *at);
  writer->done();
  return {done, text};
}

}  // namespace

Question showQuestion() {
  return {.name = "show",
          .summary = "any object of the running agent's store, or its stats",
          .example = "show hwConfig/policy/to-servers",
          .argument =
              Option::argument("PATH", "of an object or a value, or \"stats\"; else what there is")
                  .repeated(0, 1),
          .answer = show};
}

}  // namespace Agent
