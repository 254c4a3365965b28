// An option or argument of a command, as it is declared: what is parsed, told in the help and the
// man page, and completed by shells.
//
//   Option::flag("--all", "do not cut long lists")
//   Option::of("-o,--output", "FILE", "where to; standard output otherwise")
//   Option::of("--expect", "permit|drop", "status 1 when it is the other")    // one of these words
//   Option::argument("OLD", "a file or directory").required()
#pragma once

#include <cstddef>
#include <string>
#include <utility>
#include <vector>

namespace Agent {

struct Option {
  enum class Takes { nothing, text, number, texts };

  static constexpr std::size_t any = ~std::size_t{0};

  std::string names;  // "-o,--output"; of an argument its one name
  std::string value;  // what stands for its value: "FILE"; of words with "|" between, one is given
  std::string what;
  Takes takes = Takes::text;
  bool isArgument = false;
  bool isRequired = false;
  std::string byDefault = {};
  std::size_t least = 1;  // of texts
  std::size_t most = any;

  static Option flag(std::string names, std::string what) {
    return {std::move(names), {}, std::move(what), Takes::nothing};
  }
  static Option of(std::string names, std::string value, std::string what) {
    return {std::move(names), std::move(value), std::move(what)};
  }
  static Option number(std::string names, std::string what) {
    return {std::move(names), "NUMBER", std::move(what), Takes::number};
  }
  static Option argument(std::string name, std::string what, std::string value = {}) {
    return {std::move(name), std::move(value), std::move(what), Takes::text, true};
  }

  Option required() && {
    isRequired = true;
    return std::move(*this);
  }
  // Where nothing else is given.
  Option otherwise(std::string given) && {
    byDefault = std::move(given);
    return std::move(*this);
  }
  // Of an option: it may be repeated. Of an argument: so many words.
  Option repeated(std::size_t atLeast = 1, std::size_t atMost = any) && {
    takes = Takes::texts;
    least = atLeast;
    most = atMost;
    return std::move(*this);
  }

  // What it is known by: the last of its names.
  std::string name() const { return names.substr(names.rfind(',') + 1); }

  // The words of which one is given; none where it may be anything.
  std::vector<std::string> choices() const {
    std::vector<std::string> words;
    if (value.find('|') == std::string::npos) return words;
    for (std::size_t begin = 0, end = 0; end != std::string::npos; begin = end + 1) {
      end = value.find('|', begin);
      words.push_back(value.substr(begin, end - begin));
    }
    return words;
  }
};

}  // namespace Agent
