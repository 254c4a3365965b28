// Lives of a switch, with the choices of the random lives made by the input: after each change the
// library has done what the plain model does.
#include <cstdint>
#include <cstdlib>
#include <iostream>

#include "tests/plain/Generator.h"
#include "tests/plain/Life.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  constexpr std::size_t longest = 150;
  std::size_t used = 0;
  Plain::Generator generator([&](unsigned limit) {
    return used < size ? static_cast<unsigned>(data[used++]) % limit : 0U;
  });
  Plain::History history = generator.beginning();
  while (used < size && history.size() < longest) {
    for (const std::string& line : generator.changes()) history.push_back(line);
  }
  if (Plain::differenceIn(history).empty()) return 0;
  history = Plain::shrunk(history,
                          [](const Plain::History& h) { return !Plain::differenceIn(h).empty(); });
  std::cerr << Plain::asTest(history) << Plain::differenceIn(history);
  std::abort();
}
