// Counted references beside boost::intrusive_ptr, with a plain count and with an atomic one, and
// std::shared_ptr; names beside std::string.
#include <benchmark/benchmark.h>

#include <boost/smart_ptr/intrusive_ptr.hpp>
#include <boost/smart_ptr/intrusive_ref_counter.hpp>
#include <cstddef>
#include <memory>
#include <string>
#include <utility>

#include "bench/framework/Table.h"
#include "framework/Pith/Node.h"
#include "framework/Pith/Ptr.h"
#include "framework/Pith/String.h"

namespace {

constexpr std::size_t count = 100'000;

class OurNode final : public Pith::Node {};
class PlainNode : public boost::intrusive_ref_counter<PlainNode, boost::thread_unsafe_counter> {};
class AtomicNode : public boost::intrusive_ref_counter<AtomicNode, boost::thread_safe_counter> {};
struct SharedNode {};

struct Ours {
  using Reference = Pith::Ptr<OurNode>;
  static Reference make() { return Reference::adopt(new OurNode); }
};
template <class Node>
struct Boost {
  using Reference = boost::intrusive_ptr<Node>;
  static Reference make() { return Reference(new Node); }
};
struct Shared {
  using Reference = std::shared_ptr<SharedNode>;
  static Reference make() { return std::make_shared<SharedNode>(); }
};

template <class Contender>
void live(Bench::Life& life) {
  using Reference = typename Contender::Reference;
  Reference reference = Contender::make();
  life.time("copy and drop", [&] {
    for (std::size_t left = count; left > 0; --left) {
      Reference copy = reference;
      benchmark::DoNotOptimize(copy);
    }
  });
  life.time("move there and back", [&] {
    for (std::size_t left = count; left > 0; --left) {
      Reference there = std::move(reference);
      benchmark::DoNotOptimize(there);
      reference = std::move(there);
      benchmark::DoNotOptimize(reference);
    }
  });
  life.time("make and drop a node", [&] {
    for (std::size_t left = count; left > 0; --left) {
      Reference made = Contender::make();
      benchmark::DoNotOptimize(made);
    }
  });
}

template <class Name>
void liveAsName(Bench::Life& life) {
  const Name name("a-segment-name-of-some-length");
  const Name equal = name;
  life.time("copy and drop", [&] {
    for (std::size_t left = count; left > 0; --left) {
      Name copy = name;
      benchmark::DoNotOptimize(copy);
    }
  });
  life.time("compare with a copy", [&] {
    for (std::size_t left = count; left > 0; --left) {
      benchmark::DoNotOptimize(&equal);
      benchmark::DoNotOptimize(name == equal);
    }
  });
}

const bool registered = [] {
  Bench::compare("F5 Reference", count,
                 {{"Pith", live<Ours>},
                  {"boost, plain", live<Boost<PlainNode>>},
                  {"boost, atomic", live<Boost<AtomicNode>>},
                  {"std::shared_ptr", live<Shared>}});
  Bench::compare("F6 Name", count,
                 {{"Pith", liveAsName<Pith::String>}, {"std::string", liveAsName<std::string>}});
  return true;
}();

}  // namespace
