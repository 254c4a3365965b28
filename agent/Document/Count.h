// Numbers in messages.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace Agent {

// "1,234,567".
std::string grouped(std::uint64_t number);
// "1 rule", "2 rules".
std::string counted(std::uint64_t number, std::string_view what);

}  // namespace Agent
