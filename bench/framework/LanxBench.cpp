// Network values: text in, text out, and what a table does with a key.
#include <benchmark/benchmark.h>

#include <arpa/inet.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <random>
#include <string>
#include <vector>

#include "framework/Lanx/Prefix.h"
#include "framework/Lanx/RangeMaskGen.h"

namespace {

constexpr std::size_t count = 4096;

// Lengths and shapes as they are common in routing tables.
std::vector<Lanx::IpGenPrefix> prefixes(Lanx::AddressFamily family) {
  std::mt19937_64 random(1);
  std::vector<Lanx::IpGenPrefix> result;
  for (std::size_t i = 0; i < count; ++i) {
    const std::uint64_t bits = random();
    if (family == Lanx::AddressFamily::ipv4) {
      const Lanx::IpAddr address(static_cast<std::uint32_t>(bits));
      result.emplace_back(address, static_cast<std::uint8_t>(16 + random() % 9));
    } else {
      const Lanx::Ip6Addr address(0x2001000000000000U | bits >> 16U, 0);
      result.emplace_back(address, static_cast<std::uint8_t>(29 + random() % 20));
    }
  }
  return result;
}

std::vector<std::string> texts(Lanx::AddressFamily family) {
  std::vector<std::string> result;
  for (const Lanx::IpGenPrefix& prefix : prefixes(family)) result.push_back(prefix.toString());
  return result;
}

template <Lanx::AddressFamily family>
void parsePrefix(benchmark::State& state) {
  const auto given = texts(family);
  std::size_t i = 0;
  for (auto _ : state) benchmark::DoNotOptimize(Lanx::IpGenPrefix::parse(given[i++ % count]));
}
BENCHMARK(parsePrefix<Lanx::AddressFamily::ipv4>);
BENCHMARK(parsePrefix<Lanx::AddressFamily::ipv6>);

template <Lanx::AddressFamily family>
void appendPrefix(benchmark::State& state) {
  const auto given = prefixes(family);
  std::string out;
  std::size_t i = 0;
  for (auto _ : state) {
    out.clear();
    given[i++ % count].appendTo(out);
    benchmark::DoNotOptimize(out.data());
  }
}
BENCHMARK(appendPrefix<Lanx::AddressFamily::ipv4>);
BENCHMARK(appendPrefix<Lanx::AddressFamily::ipv6>);

// The C library, for the address alone.
template <Lanx::AddressFamily family>
void parseAddressByTheCLibrary(benchmark::State& state) {
  constexpr int domain = family == Lanx::AddressFamily::ipv4 ? AF_INET : AF_INET6;
  std::vector<std::string> given;
  for (const Lanx::IpGenPrefix& prefix : prefixes(family)) {
    given.push_back(prefix.address().toString());
  }
  std::array<std::uint8_t, 16> wire{};
  std::size_t i = 0;
  for (auto _ : state) {
    benchmark::DoNotOptimize(inet_pton(domain, given[i++ % count].c_str(), wire.data()));
  }
}
BENCHMARK(parseAddressByTheCLibrary<Lanx::AddressFamily::ipv4>);
BENCHMARK(parseAddressByTheCLibrary<Lanx::AddressFamily::ipv6>);

template <Lanx::AddressFamily family>
void parseAddress(benchmark::State& state) {
  std::vector<std::string> given;
  for (const Lanx::IpGenPrefix& prefix : prefixes(family)) {
    given.push_back(prefix.address().toString());
  }
  std::size_t i = 0;
  for (auto _ : state) benchmark::DoNotOptimize(Lanx::IpGenAddr::parse(given[i++ % count]));
}
BENCHMARK(parseAddress<Lanx::AddressFamily::ipv4>);
BENCHMARK(parseAddress<Lanx::AddressFamily::ipv6>);

template <Lanx::AddressFamily family>
void appendAddressByTheCLibrary(benchmark::State& state) {
  const auto given = prefixes(family);
  std::array<char, INET6_ADDRSTRLEN> text{};
  std::size_t i = 0;
  for (auto _ : state) {
    const Lanx::IpGenAddr& address = given[i++ % count].address();
    if constexpr (family == Lanx::AddressFamily::ipv4) {
      const in_addr wire{htonl(address.ipv4().value())};
      benchmark::DoNotOptimize(inet_ntop(AF_INET, &wire, text.data(), text.size()));
    } else {
      const auto wire = address.ipv6().bytes();
      benchmark::DoNotOptimize(inet_ntop(AF_INET6, wire.data(), text.data(), text.size()));
    }
  }
}
BENCHMARK(appendAddressByTheCLibrary<Lanx::AddressFamily::ipv4>);
BENCHMARK(appendAddressByTheCLibrary<Lanx::AddressFamily::ipv6>);

void hashPrefix(benchmark::State& state) {
  const auto given = prefixes(Lanx::AddressFamily::ipv6);
  std::size_t i = 0;
  for (auto _ : state) benchmark::DoNotOptimize(given[i++ % count].hash());
}
BENCHMARK(hashPrefix);

void comparePrefixes(benchmark::State& state) {
  const auto given = prefixes(Lanx::AddressFamily::ipv6);
  std::size_t i = 0;
  for (auto _ : state) {
    ++i;
    benchmark::DoNotOptimize(given[i % count] < given[(i + 1) % count]);
  }
}
BENCHMARK(comparePrefixes);

void containsPrefix(benchmark::State& state) {
  const auto given = prefixes(Lanx::AddressFamily::ipv6);
  std::size_t i = 0;
  for (auto _ : state) {
    ++i;
    benchmark::DoNotOptimize(given[i % count].contains(given[(i + 1) % count]));
  }
}
BENCHMARK(containsPrefix);

void clearHostBits(benchmark::State& state) {
  std::vector<Lanx::IpGenAddrWithMask> given;
  for (const auto& prefix : prefixes(Lanx::AddressFamily::ipv6)) given.emplace_back(prefix);
  std::size_t i = 0;
  for (auto _ : state) benchmark::DoNotOptimize(Lanx::IpGenPrefix(given[i++ % count]));
}
BENCHMARK(clearHostBits);

void splitVlanRange(benchmark::State& state) {
  std::vector<Lanx::RangeMaskGen<unsigned short>::Entry> out;
  for (auto _ : state) {
    out.clear();
    Lanx::RangeMaskGen<unsigned short>::run(1, 4094, out);
    benchmark::DoNotOptimize(out.data());
  }
}
BENCHMARK(splitVlanRange);

}  // namespace
