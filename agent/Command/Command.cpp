#include "agent/Command/Command.h"

#include <stdexcept>
#include <utility>

namespace Agent {

Arguments::Value& Arguments::declare(const Option& option) {
  Value& value = values_[option.name()];
  switch (option.takes) {
    case Option::Takes::nothing:
      value = false;
      break;
    case Option::Takes::text:
      value = option.byDefault;
      break;
    case Option::Takes::number:
      value = option.byDefault.empty() ? std::size_t{0} : std::stoul(option.byDefault);
      break;
    case Option::Takes::texts:
      value = std::vector<std::string>();
      break;
  }
  return value;
}

const Arguments::Value& Arguments::at(const std::string& name) const {
  const auto found = values_.find(name);
  if (found != values_.end()) return found->second;
  if (above_ == nullptr) throw std::logic_error("the command declares no " + name);
  return above_->at(name);
}

Option filesArgument() {
  return Option::argument("FILE",
                          "configuration: .json, YAML, \"-\" for YAML from standard input, or a "
                          "directory of them")
      .repeated()
      .required();
}

Option configurationOption() {
  return Option::of("-f,--file", "FILE", "configuration, as for compile; may be repeated")
      .repeated()
      .required();
}

Option outputOption() {
  return Option::of("-o,--output", "FILE", "where to; standard output otherwise");
}

Option socketOption() {
  return Option::of("--socket", "PATH",
                    "of the agent; else fwagent.sock in $XDG_RUNTIME_DIR, or in /tmp by user");
}

Option formatOption(std::string formats) {
  const std::string first = formats.substr(0, formats.find('|'));
  return Option::of("--format", std::move(formats), "of the output").otherwise(first);
}

}  // namespace Agent
