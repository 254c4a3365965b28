// Lives of a switch: the same changes to the library and to the plain model, compared after each.
#pragma once

#include <functional>
#include <string>
#include <vector>

namespace Plain {

using History = std::vector<std::string>;

// The lines that are told where the two differ, or where the library does not keep its promises;
// empty when all is well. Everything is removed at the end, and every object must be gone.
std::string differenceIn(const History& history);

// A part of the history that still differs, from which no line can be left out.
History shrunk(History history, const std::function<bool(const History&)>& differs);

// As the argument of a test.
std::string asTest(const History& history);

}  // namespace Plain
