// Telling subscribers of a change, and subscribing: beside boost::signals2, as it is and with its
// lock taken out.
#include <benchmark/benchmark.h>

#include <boost/signals2.hpp>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "bench/framework/Table.h"
#include "framework/Pith/Publisher.h"

namespace {

using Count = std::uint64_t;
using Handler = void(Pith::FieldId, const void*, const Pith::Change*);

class Ours {
 public:
  using Subscription = std::unique_ptr<Pith::Subscriber>;

  Subscription subscribe(Count& told) {
    auto subscriber = std::make_unique<Pith::Subscriber>(
        &told, [](void* owner, Pith::Publisher*, Pith::Subscriber*, Pith::FieldId field,
                  const void*, const Pith::Change*) { *static_cast<Count*>(owner) += field; });
    publisher_.subscriberAdd(*subscriber);
    return subscriber;
  }
  void publish(const Pith::Change& change) { publisher_.publish(1, nullptr, change); }

 private:
  Pith::Publisher publisher_;
};

template <class Signal>
class Boost {
 public:
  using Subscription = boost::signals2::scoped_connection;

  Subscription subscribe(Count& told) {
    return signal_.connect(
        [&told](Pith::FieldId field, const void*, const Pith::Change*) { told += field; });
  }
  void publish(const Pith::Change& change) { signal_(1, nullptr, &change); }

 private:
  Signal signal_;
};
using BoostLocked = Boost<boost::signals2::signal<Handler>>;
using BoostUnlocked = Boost<boost::signals2::signal_type<
    Handler, boost::signals2::keywords::mutex_type<boost::signals2::dummy_mutex>>::type>;

constexpr std::size_t changes = 100'000;

template <class Publisher>
void tell(Bench::Life& life) {
  const auto publishTo = [&life](std::size_t subscribers) {
    Publisher publisher;
    Count told = 0;
    std::vector<typename Publisher::Subscription> subscriptions;
    while (subscriptions.size() < subscribers) subscriptions.push_back(publisher.subscribe(told));
    life.time("to " + std::to_string(subscribers), [&] {
      for (std::size_t left = changes; left > 0; --left) {
        benchmark::DoNotOptimize(&publisher);
        publisher.publish({});
      }
    });
    benchmark::DoNotOptimize(told);
  };
  publishTo(0);
  publishTo(1);
  publishTo(10);
}

// All subscribe, and leave in the order in which they came.
template <class Publisher, std::size_t subscribers>
void comeAndGo(Bench::Life& life) {
  Publisher publisher;
  Count told = 0;
  std::vector<typename Publisher::Subscription> subscriptions;
  subscriptions.reserve(subscribers);
  life.time("subscribe", [&] {
    while (subscriptions.size() < subscribers) subscriptions.push_back(publisher.subscribe(told));
  });
  life.time("unsubscribe", [&] {
    for (auto& subscription : subscriptions) {
      const auto gone = std::move(subscription);
      benchmark::DoNotOptimize(&gone);
    }
  });
}

template <std::size_t subscribers>
void compareComeAndGo() {
  Bench::compare("F7 Come and go, " + std::to_string(subscribers) + " subscribers", subscribers,
                 {{"Pith", comeAndGo<Ours, subscribers>},
                  {"signals2, no lock", comeAndGo<BoostUnlocked, subscribers>},
                  {"signals2", comeAndGo<BoostLocked, subscribers>}});
}

const bool registered = [] {
  Bench::compare("F3 Publish", changes,
                 {{"Pith", tell<Ours>},
                  {"signals2, no lock", tell<BoostUnlocked>},
                  {"signals2", tell<BoostLocked>}});
  compareComeAndGo<10>();
  compareComeAndGo<10'000>();
  return true;
}();

}  // namespace
