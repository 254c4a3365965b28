#include "framework/Pith/Publisher.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <memory>
#include <random>
#include <stdexcept>
#include <string>
#include <vector>

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

constexpr Pith::FieldId someField = 7;

// A subscriber that writes its name into a log, and then does what it is told.
class Listener {
 public:
  Listener(std::string name, std::vector<std::string>& log)
      : subscriber(this, &Listener::onChange), name_(std::move(name)), log_(log) {}

  Pith::Subscriber subscriber;
  std::function<void()> action = [] {};

 private:
  static void onChange(void* owner, Pith::Publisher* /*publisher*/,
                       Pith::Subscriber* /*subscriber*/, Pith::FieldId /*field*/,
                       const void* /*key*/, const Pith::Change* /*change*/) {
    const auto& self = *static_cast<Listener*>(owner);
    self.log_.push_back(self.name_);
    const std::function<void()> action = self.action;  // which may destroy the listener
    action();
  }

  std::string name_;
  std::vector<std::string>& log_;
};

class PublisherTest : public testing::Test {
 protected:
  Listener& join(const std::string& name) {
    listeners_.push_back(std::make_unique<Listener>(name, log_));
    publisher_->subscriberAdd(listeners_.back()->subscriber);
    return *listeners_.back();
  }
  void publish() const { publisher_->publish(someField, nullptr, {}); }
  // Publishes and says who was told.
  std::vector<std::string> told() {
    log_.clear();
    publish();
    return log_;
  }

  std::vector<std::string> log_;
  std::vector<std::unique_ptr<Listener>> listeners_;
  std::unique_ptr<Pith::Publisher> publisher_ = std::make_unique<Pith::Publisher>();
};

static_assert(sizeof(Pith::Publisher) == sizeof(void*));

TEST_F(PublisherTest, nobodyIsToldWhereNobodySubscribed) {
  EXPECT_FALSE(publisher_->mayHaveSubscribers());
  EXPECT_EQ(publisher_->subscriberCount(), 0U);
  EXPECT_THAT(told(), IsEmpty());
}

TEST_F(PublisherTest, subscribersAreToldInTheOrderOfSubscription) {
  join("a");
  join("b");
  join("c");
  EXPECT_THAT(told(), ElementsAre("a", "b", "c"));
  EXPECT_EQ(publisher_->subscriberCount(), 3U);
}

struct Told {
  Pith::Publisher* publisher = nullptr;
  Pith::Subscriber* subscriber = nullptr;
  Pith::FieldId field = 0;
  const void* key = nullptr;
  const void* previous = nullptr;
  const void* current = nullptr;
};

TEST_F(PublisherTest, subscriberGetsWhatWasPublished) {
  Told told;
  Pith::Subscriber subscriber(&told, [](void* owner, Pith::Publisher* publisher,
                                        Pith::Subscriber* self, Pith::FieldId field,
                                        const void* key, const Pith::Change* change) {
    *static_cast<Told*>(owner) = {publisher, self, field, key, change->previous, change->current};
  });
  publisher_->subscriberAdd(subscriber);
  const int key = 1;
  const int previous = 2;
  const int current = 3;
  publisher_->publish(someField, &key, {&previous, &current});
  EXPECT_EQ(told.publisher, publisher_.get());
  EXPECT_EQ(told.subscriber, &subscriber);
  EXPECT_EQ(told.field, someField);
  EXPECT_EQ(told.key, &key);
  EXPECT_EQ(told.previous, &previous);
  EXPECT_EQ(told.current, &current);
}

TEST_F(PublisherTest, subscribingAgainKeepsThePlace) {
  Listener& a = join("a");
  join("b");
  publisher_->subscriberAdd(a.subscriber);
  EXPECT_THAT(told(), ElementsAre("a", "b"));
}

TEST_F(PublisherTest, subscriberThatLeavesAndComesBackIsLast) {
  Listener& a = join("a");
  join("b");
  publisher_->subscriberRemove(a.subscriber);
  EXPECT_EQ(a.subscriber.publisher(), nullptr);
  EXPECT_THAT(told(), ElementsAre("b"));
  publisher_->subscriberAdd(a.subscriber);
  EXPECT_THAT(told(), ElementsAre("b", "a"));
}

TEST_F(PublisherTest, subscriberMovesToAnotherPublisher) {
  Listener& a = join("a");
  join("b");
  Pith::Publisher other;
  other.subscriberAdd(a.subscriber);
  EXPECT_EQ(a.subscriber.publisher(), &other);
  EXPECT_THAT(told(), ElementsAre("b"));
  log_.clear();
  other.publish(someField, nullptr, {});
  EXPECT_THAT(log_, ElementsAre("a"));
}

TEST_F(PublisherTest, leavingAPublisherThatItIsNotOnDoesNothing) {
  Listener& a = join("a");
  Pith::Publisher other;
  a.subscriber.unsubscribeFrom(&other);
  other.subscriberRemove(a.subscriber);
  a.subscriber.unsubscribeFrom(nullptr);
  EXPECT_EQ(a.subscriber.publisher(), publisher_.get());
  EXPECT_THAT(told(), ElementsAre("a"));
  a.subscriber.unsubscribeFrom(publisher_.get());
  EXPECT_THAT(told(), IsEmpty());
}

TEST_F(PublisherTest, destroyedSubscriberIsNotTold) {
  join("a");
  join("b");
  listeners_.erase(listeners_.begin());
  EXPECT_THAT(told(), ElementsAre("b"));
}

TEST_F(PublisherTest, subscribersOfADestroyedPublisherAreFree) {
  Listener& a = join("a");
  publisher_ = std::make_unique<Pith::Publisher>();
  EXPECT_EQ(a.subscriber.publisher(), nullptr);
  publisher_->subscriberAdd(a.subscriber);
  EXPECT_THAT(told(), ElementsAre("a"));
}

TEST_F(PublisherTest, publisherThatEveryoneLeftHasNoSubscribers) {
  Listener& a = join("a");
  publisher_->subscriberRemove(a.subscriber);
  EXPECT_FALSE(publisher_->mayHaveSubscribers());
}

// Inside a notification.

TEST_F(PublisherTest, subscriberMayLeaveWhileItIsTold) {
  Listener& a = join("a");
  join("b");
  a.action = [&] { publisher_->subscriberRemove(a.subscriber); };
  EXPECT_THAT(told(), ElementsAre("a", "b"));
  EXPECT_THAT(told(), ElementsAre("b"));
}

TEST_F(PublisherTest, subscriberThatLeftIsNotToldAnyMore) {
  Listener& a = join("a");
  Listener& b = join("b");
  join("c");
  a.action = [&] { publisher_->subscriberRemove(b.subscriber); };
  EXPECT_THAT(told(), ElementsAre("a", "c"));
}

TEST_F(PublisherTest, subscriberMayBeDestroyedWhileItIsTold) {
  Listener& a = join("a");
  join("b");
  a.action = [&] { listeners_.erase(listeners_.begin()); };
  EXPECT_THAT(told(), ElementsAre("a", "b"));
  EXPECT_THAT(told(), ElementsAre("b"));
}

TEST_F(PublisherTest, subscriberThatJoinedIsNotToldOfTheChangeUnderWay) {
  Listener& a = join("a");
  a.action = [&] {
    a.action = [] {};
    join("b");
  };
  EXPECT_THAT(told(), ElementsAre("a"));
  EXPECT_THAT(told(), ElementsAre("a", "b"));
}

TEST_F(PublisherTest, subscriberThatLeftAndJoinedAgainIsNotToldOfTheChangeUnderWay) {
  Listener& a = join("a");
  Listener& b = join("b");
  a.action = [&] {
    publisher_->subscriberRemove(b.subscriber);
    publisher_->subscriberAdd(b.subscriber);
  };
  EXPECT_THAT(told(), ElementsAre("a"));
}

TEST_F(PublisherTest, subscriberMayMoveToAnotherPublisherWhileItIsTold) {
  Pith::Publisher other;
  Listener& a = join("a");
  join("b");
  a.action = [&] { other.subscriberAdd(a.subscriber); };
  EXPECT_THAT(told(), ElementsAre("a", "b"));
  EXPECT_THAT(told(), ElementsAre("b"));
  EXPECT_EQ(other.subscriberCount(), 1U);
}

TEST_F(PublisherTest, changeMadeInsideIsDeliveredInFullBeforeTheOuterOneGoesOn) {
  Listener& a = join("a");
  join("b");
  a.action = [&] {
    a.action = [] {};
    publish();
  };
  EXPECT_THAT(told(), ElementsAre("a", "a", "b", "b"));
}

TEST_F(PublisherTest, subscriberThatJoinedIsToldOfAChangeMadeAfterwardsInside) {
  Listener& a = join("a");
  a.action = [&] {
    a.action = [] {};
    join("b");
    publish();
  };
  EXPECT_THAT(told(), ElementsAre("a", "a", "b"));
}

TEST_F(PublisherTest, subscriberThatLeftInsideAnInnerChangeIsNotToldOfTheOuterOne) {
  Listener& a = join("a");
  Listener& b = join("b");
  Listener& c = join("c");
  a.action = [&] {
    a.action = [] {};
    publish();
  };
  b.action = [&] { publisher_->subscriberRemove(c.subscriber); };
  EXPECT_THAT(told(), ElementsAre("a", "a", "b", "b"));
}

TEST_F(PublisherTest, publisherMayBeDestroyedWhileItTells) {
  Listener& a = join("a");
  Listener& b = join("b");
  a.action = [&] { publisher_.reset(); };
  EXPECT_THAT(told(), ElementsAre("a"));
  EXPECT_EQ(b.subscriber.publisher(), nullptr);
}

TEST_F(PublisherTest, publisherMayBeDestroyedByAnInnerChange) {
  Listener& a = join("a");
  Listener& b = join("b");
  a.action = [&] {
    a.action = [] {};
    publish();
  };
  b.action = [&] { publisher_.reset(); };
  EXPECT_THAT(told(), ElementsAre("a", "a", "b"));
}

TEST_F(PublisherTest, publisherThatEveryoneLeftWhileItToldHasNoSubscribers) {
  Listener& a = join("a");
  a.action = [&] { publisher_->subscriberRemove(a.subscriber); };
  EXPECT_THAT(told(), ElementsAre("a"));
  EXPECT_FALSE(publisher_->mayHaveSubscribers());
}

// Exceptions.

TEST_F(PublisherTest, exceptionReachesThePublisherWhenTheOthersHaveBeenTold) {
  Listener& a = join("a");
  join("b");
  a.action = [] { throw std::runtime_error("from a"); };
  EXPECT_THROW(publish(), std::runtime_error);
  EXPECT_THAT(log_, ElementsAre("a", "b"));
}

TEST_F(PublisherTest, firstOfSeveralExceptionsIsTheOneThatIsRaised) {
  join("a");
  join("b").action = [] { throw std::runtime_error("from b"); };
  join("c").action = [] { throw std::logic_error("from c"); };
  try {
    publish();
    FAIL() << "nothing was thrown";
  } catch (const std::exception& error) {
    EXPECT_STREQ(error.what(), "from b");
  }
}

TEST_F(PublisherTest, exceptionLeavesTheSubscriptionsAsTheyWere) {
  Listener& a = join("a");
  join("b");
  a.action = [] { throw std::runtime_error("from a"); };
  EXPECT_THROW(publish(), std::runtime_error);
  a.action = [] {};
  EXPECT_THAT(told(), ElementsAre("a", "b"));
  publisher_->subscriberRemove(a.subscriber);
  EXPECT_THAT(told(), ElementsAre("b"));
}

TEST_F(PublisherTest, exceptionAfterThePublisherIsGoneReachesItsCaller) {
  join("a").action = [&] {
    publisher_.reset();
    throw std::runtime_error("from a");
  };
  join("b");
  EXPECT_THROW(publish(), std::runtime_error);
  EXPECT_THAT(log_, ElementsAre("a"));
}

// Many.

TEST_F(PublisherTest, tenThousandSubscribersLeaveInAnyOrder) {
  constexpr int count = 10000;
  std::mt19937 random(1);
  for (const std::string order : {"first to last", "last to first", "shuffled"}) {
    SCOPED_TRACE(order);
    listeners_.clear();
    std::vector<std::string> names;
    for (int listener = 0; listener < count; ++listener) {
      names.push_back(std::to_string(listener));
      join(names.back());
    }
    std::vector<std::size_t> leaving(count);
    for (std::size_t at = 0; at < count; ++at) leaving[at] = at;
    if (order == "last to first") std::reverse(leaving.begin(), leaving.end());
    if (order == "shuffled") std::shuffle(leaving.begin(), leaving.end(), random);
    for (std::size_t left = 0; left < count; ++left) {
      publisher_->subscriberRemove(listeners_[leaving[left]]->subscriber);
      names[leaving[left]].clear();
      if (left % 2500 != 0) continue;
      std::vector<std::string> staying = names;
      std::erase(staying, "");
      ASSERT_EQ(told(), staying);
      ASSERT_EQ(publisher_->subscriberCount(), staying.size());
    }
    EXPECT_THAT(told(), IsEmpty());
  }
}

TEST_F(PublisherTest, comingAndGoingKeepsTheOrderOfThoseWhoStay) {
  join("a");
  Listener& passing = join("passing");
  join("b");
  for (int time = 0; time < 1000; ++time) {
    publisher_->subscriberRemove(passing.subscriber);
    publisher_->subscriberAdd(passing.subscriber);
  }
  EXPECT_THAT(told(), ElementsAre("a", "b", "passing"));
}

// Guards.

TEST_F(PublisherTest, guardTakesTheSubscriptionBackWhenItIsLeft) {
  Listener a("a", log_);
  try {
    const Pith::SubscriberScopeGuard guard(*publisher_, a.subscriber);
    EXPECT_THAT(told(), ElementsAre("a"));
    throw std::runtime_error("construction failed");
  } catch (const std::runtime_error&) {
    EXPECT_THAT(told(), IsEmpty());
  }
}

TEST_F(PublisherTest, releasedGuardLeavesTheSubscription) {
  Listener a("a", log_);
  {
    Pith::SubscriberScopeGuard guard(*publisher_, a.subscriber);
    guard.release();
  }
  EXPECT_THAT(told(), ElementsAre("a"));
}

TEST_F(PublisherTest, guardOutlivesThePublisher) {
  Listener a("a", log_);
  const Pith::SubscriberScopeGuard guard(*publisher_, a.subscriber);
  publisher_.reset();
  EXPECT_EQ(a.subscriber.publisher(), nullptr);
}

}  // namespace
