// What every attribute of every store type keeps, whatever its kind: tests over the type tables.
//
//   INSTANTIATE_TEST_SUITE_P(Model, EntryContract, ValuesIn(subjectsOf(makers(), isKeyed)),
//                            nameOfSubject);
//
// Four suites: ValueContract (one value or reference), ChildContract (one object of its own),
// EntryContract (collections of any kind) and MapContract (values under keys).
//
// To be included by one source of a test program.
#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <stdexcept>
#include <string>
#include <vector>

#include "framework/Pith/RangeException.h"
#include "tests/support/Recorder.h"
#include "tests/support/Subject.h"

namespace TestSupport {

class AttributeContract : public testing::TestWithParam<Subject> {
 protected:
  AttributeContract() : recorder_(*object_), samples_(GetParam().makeReferred) {}

  const Kiv::AttributeData& attribute() const { return *GetParam().attribute; }
  void write(const std::string& key, const std::string& value) {
    attribute().write(*object_, key, value);
  }
  void erase(const std::string& key) { attribute().erase(*object_, key); }
  void eraseAll() { attribute().eraseAll(*object_); }
  std::optional<std::string> stored(const std::string& key) const {
    return storedText(*object_, attribute(), key);
  }
  std::vector<std::string> keys() const { return keysOf(*object_, attribute()); }
  std::size_t count() const { return attribute().count(*object_); }

  // Runs `action` inside the next notification alone.
  void onNextNotice(const std::function<void()>& action) {
    recorder_.actionIs([this, action](const Recorder::Notice& /*notice*/) {
      recorder_.actionIs(nullptr);
      action();
    });
  }

  Pith::Ptr<Kiv::Entity> object_ = GetParam().make();
  Recorder recorder_;
  Samples samples_;
};

// One value.

class ValueContract : public AttributeContract {
 protected:
  ValueContract() : values_(samples_.of(*attribute().value)), initial_(*stored("")) {}

  std::vector<std::string> values_;
  std::string initial_;
};

TEST_P(ValueContract, changeIsToldOnceWithTheValueBeforeAndAfter) {
  write("", values_[0]);
  EXPECT_EQ(stored(""), values_[0]);
  ASSERT_EQ(recorder_.notices().size(), 1U);
  const Recorder::Notice& notice = recorder_.notices().front();
  EXPECT_EQ(notice.attribute, &attribute());
  EXPECT_EQ(notice.previous, initial_);
  EXPECT_EQ(notice.current, values_[0]);
  EXPECT_EQ(notice.stored, values_[0]);
}

TEST_P(ValueContract, equalValueTellsNobody) {
  write("", initial_);
  EXPECT_TRUE(recorder_.notices().empty());
  write("", values_[0]);
  recorder_.clear();
  write("", values_[0]);
  EXPECT_TRUE(recorder_.notices().empty());
}

TEST_P(ValueContract, everyValueReadsBackAsItWasWritten) {
  for (const std::string& value : values_) {
    write("", value);
    EXPECT_EQ(stored(""), value);
  }
}

TEST_P(ValueContract, malformedTextIsRefusedAndNothingChanges) {
  const std::string malformed = Samples::malformed(*attribute().value);
  write("", values_[0]);
  recorder_.clear();
  if (!malformed.empty()) {
    EXPECT_THROW(write("", malformed), Pith::RangeException);
  }
  EXPECT_EQ(stored(""), values_[0]);
  EXPECT_TRUE(recorder_.notices().empty());
}

TEST_P(ValueContract, exceptionOfASubscriberReachesTheWriterWhenAllHaveBeenTold) {
  Recorder second(*object_);
  onNextNotice([] { throw std::runtime_error("from a subscriber"); });
  EXPECT_THROW(write("", values_[0]), std::runtime_error);
  EXPECT_EQ(stored(""), values_[0]);
  EXPECT_EQ(second.notices().size(), 1U);
}

TEST_P(ValueContract, valueWrittenByASubscriberIsToldInFullBeforeTheOuterOneGoesOn) {
  Recorder second(*object_);
  onNextNotice([this] { write("", values_[1]); });
  write("", values_[0]);
  EXPECT_EQ(stored(""), values_[1]);
  ASSERT_EQ(second.notices().size(), 2U);
  EXPECT_EQ(second.notices()[0].previous, values_[0]);
  EXPECT_EQ(second.notices()[0].current, values_[1]);
  EXPECT_EQ(second.notices()[1].previous, initial_);
  EXPECT_EQ(second.notices()[1].current, values_[0]);
}

TEST_P(ValueContract, subscriberMayDropTheObject) {
  Kiv::Entity& object = *object_;
  onNextNotice([this] { object_ = nullptr; });
  attribute().write(object, "", values_[0]);
  EXPECT_EQ(object_, nullptr);
}

// One object of its own.

class ChildContract : public AttributeContract {
 protected:
  ChildContract() : names_(samples_.of(*attribute().value)) {}

  std::vector<std::string> names_;
};

TEST_P(ChildContract, additionIsToldOnce) {
  EXPECT_EQ(stored(""), std::nullopt);
  write("", names_[0]);
  EXPECT_EQ(stored(""), names_[0]);
  ASSERT_EQ(recorder_.notices().size(), 1U);
  const Recorder::Notice& notice = recorder_.notices().front();
  EXPECT_EQ(notice.attribute, &attribute());
  EXPECT_EQ(notice.previous, std::nullopt);
  EXPECT_EQ(notice.current, names_[0]);
  EXPECT_EQ(notice.stored, names_[0]);
}

TEST_P(ChildContract, sameNameKeepsTheChildAndTellsNobody) {
  write("", names_[0]);
  const Kiv::Object* const child = attribute().child(*object_, "");
  recorder_.clear();
  write("", names_[0]);
  EXPECT_EQ(attribute().child(*object_, ""), child);
  EXPECT_TRUE(recorder_.notices().empty());
}

TEST_P(ChildContract, otherNameIsARemovalThenAnAddition) {
  write("", names_[0]);
  recorder_.clear();
  write("", names_[1]);
  EXPECT_EQ(stored(""), names_[1]);
  ASSERT_EQ(recorder_.notices().size(), 2U);
  EXPECT_EQ(recorder_.notices()[0].previous, names_[0]);
  EXPECT_EQ(recorder_.notices()[0].current, std::nullopt);
  EXPECT_EQ(recorder_.notices()[0].stored, std::nullopt);
  EXPECT_EQ(recorder_.notices()[1].previous, std::nullopt);
  EXPECT_EQ(recorder_.notices()[1].current, names_[1]);
}

TEST_P(ChildContract, removalIsToldOnceWhenTheChildHasLeft) {
  write("", names_[0]);
  recorder_.clear();
  erase("");
  EXPECT_EQ(count(), 0U);
  ASSERT_EQ(recorder_.notices().size(), 1U);
  EXPECT_EQ(recorder_.notices()[0].previous, names_[0]);
  EXPECT_EQ(recorder_.notices()[0].current, std::nullopt);
  EXPECT_EQ(recorder_.notices()[0].count, 0U);
  erase("");
  EXPECT_EQ(recorder_.notices().size(), 1U);
}

TEST_P(ChildContract, exceptionOnTheRemovalLetsTheAdditionHappen) {
  write("", names_[0]);
  Recorder second(*object_);
  onNextNotice([] { throw std::runtime_error("from a subscriber"); });
  EXPECT_THROW(write("", names_[1]), std::runtime_error);
  EXPECT_EQ(stored(""), names_[1]);
  EXPECT_EQ(second.notices().size(), 2U);
}

TEST_P(ChildContract, childThatASubscriberPutsInItsPlaceStays) {
  write("", names_[0]);
  onNextNotice([this] { write("", names_[2]); });
  write("", names_[1]);
  EXPECT_EQ(stored(""), names_[2]);
}

TEST_P(ChildContract, subscriberMayDropTheObject) {
  Kiv::Entity& object = *object_;
  onNextNotice([this] { object_ = nullptr; });
  attribute().write(object, "", names_[0]);
  EXPECT_EQ(object_, nullptr);
}

// Entries under keys, of any kind.

class EntryContract : public AttributeContract {
 protected:
  EntryContract() : entries_(GetParam().entries(samples_)) {}

  void write(const Entry& entry) { AttributeContract::write(entry.key, entry.value); }
  void writeAll() {
    for (const Entry& entry : entries_) write(entry);
    recorder_.clear();
  }

  std::vector<Entry> entries_;
};

TEST_P(EntryContract, beginsEmpty) {
  EXPECT_EQ(count(), 0U);
  EXPECT_TRUE(keys().empty());
  EXPECT_EQ(stored(entries_[0].key), std::nullopt);
}

TEST_P(EntryContract, additionIsToldOnceWithItsValue) {
  write(entries_[0]);
  EXPECT_EQ(stored(entries_[0].key), entries_[0].value);
  EXPECT_EQ(count(), 1U);
  ASSERT_EQ(recorder_.notices().size(), 1U);
  const Recorder::Notice& notice = recorder_.notices().front();
  EXPECT_EQ(notice.attribute, &attribute());
  EXPECT_EQ(notice.key, entries_[0].key);
  EXPECT_EQ(notice.previous, std::nullopt);
  EXPECT_EQ(notice.current, entries_[0].toldAs(attribute()));
  EXPECT_EQ(notice.stored, entries_[0].value);
  EXPECT_EQ(notice.count, 1U);
}

TEST_P(EntryContract, equalEntryTellsNobody) {
  writeAll();
  for (const Entry& entry : entries_) write(entry);
  EXPECT_TRUE(recorder_.notices().empty());
  EXPECT_EQ(count(), entries_.size());
}

TEST_P(EntryContract, everyEntryReadsBackAsItWasWritten) {
  writeAll();
  for (const Entry& entry : entries_) EXPECT_EQ(stored(entry.key), entry.value);
}

TEST_P(EntryContract, removalIsToldOnceWhenTheEntryHasLeft) {
  writeAll();
  erase(entries_[1].key);
  EXPECT_EQ(stored(entries_[1].key), std::nullopt);
  ASSERT_EQ(recorder_.notices().size(), 1U);
  const Recorder::Notice& notice = recorder_.notices().front();
  EXPECT_EQ(notice.attribute, &attribute());
  EXPECT_EQ(notice.key, entries_[1].key);
  EXPECT_EQ(notice.previous, entries_[1].toldAs(attribute()));
  EXPECT_EQ(notice.current, std::nullopt);
  EXPECT_EQ(notice.stored, std::nullopt);
  EXPECT_EQ(notice.count, entries_.size() - 1);
}

TEST_P(EntryContract, removalOfWhatIsNotThereTellsNobody) {
  erase(entries_[0].key);
  write(entries_[0]);
  recorder_.clear();
  erase(entries_[1].key);
  EXPECT_TRUE(recorder_.notices().empty());
  EXPECT_EQ(count(), 1U);
}

TEST_P(EntryContract, removalOfAllTellsOfEachEntryInTheOrderOfIteration) {
  writeAll();
  const std::vector<std::string> order = keys();
  eraseAll();
  EXPECT_EQ(count(), 0U);
  EXPECT_EQ(recorder_.keys(), order);
  for (std::size_t at = 0; at < recorder_.notices().size(); ++at) {
    const Recorder::Notice& notice = recorder_.notices()[at];
    EXPECT_EQ(notice.current, std::nullopt);
    EXPECT_EQ(notice.stored, std::nullopt);
    EXPECT_EQ(notice.count, entries_.size() - 1 - at);
  }
  eraseAll();
  EXPECT_EQ(recorder_.notices().size(), entries_.size());
}

TEST_P(EntryContract, iterationIsInTheOrderThatTheTypeTableSays) {
  writeAll();
  const std::vector<std::string> order = keys();
  eraseAll();
  std::reverse(entries_.begin(), entries_.end());
  writeAll();
  std::vector<std::string> expected = order;
  if (!attribute().ordered) std::reverse(expected.begin(), expected.end());
  EXPECT_EQ(keys(), expected);
}

TEST_P(EntryContract, entryThatWasRemovedAndMadeAgainStandsWhereANewOneWould) {
  writeAll();
  std::vector<std::string> expected = keys();
  const Entry& entry = entries_[0];
  erase(entry.key);
  write(entry);
  if (!attribute().ordered) {
    std::erase(expected, entry.key);
    expected.push_back(entry.key);
  }
  EXPECT_EQ(keys(), expected);
  EXPECT_EQ(recorder_.notices().size(), 2U);
}

TEST_P(EntryContract, malformedTextIsRefusedAndNothingChanges) {
  writeAll();
  const std::string key = Samples::malformed(*attribute().key);
  if (!key.empty()) {
    EXPECT_THROW(write({key, entries_[0].value, {}}), Pith::RangeException);
    EXPECT_THROW(erase(key), Pith::RangeException);
    EXPECT_THROW(stored(key), Pith::RangeException);
  }
  if (attribute().value != nullptr) {
    const std::string value = Samples::malformed(*attribute().value);
    if (!value.empty()) {
      EXPECT_THROW(write({entries_[0].key, value, {}}), Pith::RangeException);
    }
  }
  EXPECT_TRUE(recorder_.notices().empty());
  EXPECT_EQ(count(), entries_.size());
}

TEST_P(EntryContract, walkVisitsEveryEntryThoughEachIsRemovedAtItsVisit) {
  writeAll();
  const std::vector<std::string> expected = keys();
  std::vector<std::string> visited;
  attribute().each(*object_, [&](std::string_view key, std::string_view, const Kiv::Object*) {
    visited.emplace_back(key);
    erase(visited.back());
  });
  EXPECT_EQ(visited, expected);
  EXPECT_EQ(count(), 0U);
}

TEST_P(EntryContract, walkLeavesOutWhatIsRemovedBeforeItsVisit) {
  writeAll();
  const std::vector<std::string> order = keys();
  std::vector<std::string> visited;
  attribute().each(*object_, [&](std::string_view key, std::string_view, const Kiv::Object*) {
    visited.emplace_back(key);
    if (visited.size() == 1) {
      for (std::size_t at = 1; at < order.size(); ++at) erase(order[at]);
    }
  });
  EXPECT_EQ(visited, std::vector<std::string>{order[0]});
}

TEST_P(EntryContract, walkSurvivesTheRemovalOfAll) {
  writeAll();
  int visits = 0;
  attribute().each(*object_, [&](std::string_view, std::string_view, const Kiv::Object*) {
    ++visits;
    eraseAll();
  });
  EXPECT_EQ(visits, 1);
}

TEST_P(EntryContract, walkVisitsWhatAppearsBehindItsPlace) {
  writeAll();
  const std::string last = keys().back();
  erase(last);
  std::vector<std::string> visited;
  attribute().each(*object_, [&](std::string_view key, std::string_view, const Kiv::Object*) {
    visited.emplace_back(key);
    if (visited.size() > 1) return;
    const auto entry = std::find_if(entries_.begin(), entries_.end(),
                                    [&last](const Entry& each) { return each.key == last; });
    write(*entry);
  });
  EXPECT_EQ(visited.size(), entries_.size());
  EXPECT_EQ(visited.back(), last);
}

TEST_P(EntryContract, walkSurvivesThatTheCurrentEntryIsRemovedAndMadeAgain) {
  writeAll();
  std::size_t visits = 0;
  attribute().each(*object_, [&](std::string_view key, std::string_view, const Kiv::Object*) {
    if (++visits > entries_.size()) return;  // a collection in insertion order has it at its end
    const auto entry = std::find_if(entries_.begin(), entries_.end(),
                                    [key](const Entry& each) { return each.key == key; });
    erase(entry->key);
    write(*entry);
  });
  EXPECT_EQ(visits, attribute().ordered ? entries_.size() : 2 * entries_.size());
  EXPECT_EQ(count(), entries_.size());
}

TEST_P(EntryContract, exceptionOfASubscriberReachesTheWriterWhenAllHaveBeenTold) {
  Recorder second(*object_);
  onNextNotice([] { throw std::runtime_error("on addition"); });
  EXPECT_THROW(write(entries_[0]), std::runtime_error);
  EXPECT_EQ(stored(entries_[0].key), entries_[0].value);
  onNextNotice([] { throw std::runtime_error("on removal"); });
  EXPECT_THROW(erase(entries_[0].key), std::runtime_error);
  EXPECT_EQ(stored(entries_[0].key), std::nullopt);
  EXPECT_EQ(second.notices().size(), 2U);
}

TEST_P(EntryContract, exceptionOfASubscriberLetsTheRemovalOfAllBeCompleted) {
  writeAll();
  Recorder second(*object_);
  onNextNotice([] { throw std::runtime_error("on removal"); });
  EXPECT_THROW(eraseAll(), std::runtime_error);
  EXPECT_EQ(count(), 0U);
  EXPECT_EQ(second.notices().size(), entries_.size());
}

TEST_P(EntryContract, subscriberMayRemoveTheEntryThatItIsToldOf) {
  onNextNotice([this] { erase(entries_[0].key); });
  write(entries_[0]);
  EXPECT_EQ(count(), 0U);
  EXPECT_EQ(recorder_.notices().size(), 2U);
}

TEST_P(EntryContract, subscriberMayMakeTheRemovedEntryAgain) {
  write(entries_[0]);
  onNextNotice([this] { write(entries_[0]); });
  erase(entries_[0].key);
  EXPECT_EQ(stored(entries_[0].key), entries_[0].value);
}

TEST_P(EntryContract, subscriberMayRemoveAllWhileAllAreRemoved) {
  writeAll();
  const std::vector<std::string> order = keys();
  onNextNotice([this] { eraseAll(); });
  eraseAll();
  EXPECT_EQ(count(), 0U);
  EXPECT_EQ(recorder_.keys(), order);
}

TEST_P(EntryContract, whatIsMadeWhileAllAreRemovedStays) {
  writeAll();
  const std::string last = keys().back();
  erase(last);
  const auto added = std::find_if(entries_.begin(), entries_.end(),
                                  [&last](const Entry& each) { return each.key == last; });
  const std::string first = keys().front();
  const auto again = std::find_if(entries_.begin(), entries_.end(),
                                  [&first](const Entry& each) { return each.key == first; });
  onNextNotice([&] {
    write(*added);
    write(*again);
  });
  eraseAll();
  std::vector<std::string> left = keys();
  std::sort(left.begin(), left.end());
  std::vector<std::string> expected{first, last};
  std::sort(expected.begin(), expected.end());
  EXPECT_EQ(left, expected);
}

TEST_P(EntryContract, subscriberMayDropTheObjectOnAddition) {
  Kiv::Entity& object = *object_;
  onNextNotice([this] { object_ = nullptr; });
  attribute().write(object, entries_[0].key, entries_[0].value);
  EXPECT_EQ(object_, nullptr);
}

TEST_P(EntryContract, subscriberMayDropTheObjectWhileAllAreRemoved) {
  writeAll();
  Kiv::Entity& object = *object_;
  onNextNotice([this] { object_ = nullptr; });
  attribute().eraseAll(object);
  EXPECT_EQ(recorder_.notices().size(), entries_.size());
}

// Values under keys.

class MapContract : public EntryContract {};

TEST_P(MapContract, changeIsToldOnceWithTheValueBeforeAndAfter) {
  writeAll();
  const std::vector<std::string> order = keys();
  const Entry& entry = entries_[1];
  AttributeContract::write(entry.key, entry.otherValue);
  EXPECT_EQ(stored(entry.key), entry.otherValue);
  EXPECT_EQ(keys(), order);
  ASSERT_EQ(recorder_.notices().size(), 1U);
  const Recorder::Notice& notice = recorder_.notices().front();
  EXPECT_EQ(notice.key, entry.key);
  EXPECT_EQ(notice.previous, entry.value);
  EXPECT_EQ(notice.current, entry.otherValue);
  EXPECT_EQ(notice.stored, entry.otherValue);
  EXPECT_EQ(notice.count, entries_.size());
}

TEST_P(MapContract, changeMadeByASubscriberIsToldInFullBeforeTheOuterOneGoesOn) {
  Recorder second(*object_);
  const Entry& entry = entries_[0];
  onNextNotice([&] { AttributeContract::write(entry.key, entry.otherValue); });
  write(entry);
  EXPECT_EQ(stored(entry.key), entry.otherValue);
  ASSERT_EQ(second.notices().size(), 2U);
  EXPECT_EQ(second.notices()[0].previous, entry.value);
  EXPECT_EQ(second.notices()[0].current, entry.otherValue);
  EXPECT_EQ(second.notices()[1].previous, std::nullopt);
  EXPECT_EQ(second.notices()[1].current, entry.value);
}

TEST_P(MapContract, subscriberMayRemoveTheEntryOrDropTheObjectOnAChange) {
  writeAll();
  const Entry& entry = entries_[0];
  onNextNotice([&] { erase(entry.key); });
  AttributeContract::write(entry.key, entry.otherValue);
  EXPECT_EQ(stored(entry.key), std::nullopt);

  const Entry& other = entries_[1];
  Kiv::Entity& object = *object_;
  onNextNotice([this] { object_ = nullptr; });
  attribute().write(object, other.key, other.otherValue);
  EXPECT_EQ(object_, nullptr);
}

}  // namespace TestSupport
