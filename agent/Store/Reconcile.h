// Makes the store equal to a checked document, writing what differs and nothing else.
//
//   const Plan plan = planOf(store, document.root);
//   plan.size()                                     // writes that are needed
//   apply(plan, store);
//
// The order of the writes, by which nothing is without what it depends on for longer than the
// change demands:
//   1. sources that go or are switched off: `enabled` false, and the former go;
//   2. entries of prefix lists whose prefix another entry takes over go: a prefix that two entries
//      permit would go with the first of them;
//   3. what is new or other: capabilities, interfaces, VRFs, field sets, applications, match lists,
//      prefix lists, then of each source class maps, policies, VRFs with their segments, the L2
//      directory, and the source's switches;
//   4. what goes, in the opposite order;
//   5. sources that come or are switched on: `enabled` true.
//
// A plan points into the document and holds objects of the store; it is good until either changes.
//
// Cost: one walk of the document with a look-up in the store for each value; a collection is walked
// only when something leaves it. Memory in proportion to the difference.
#pragma once

#include <string>
#include <vector>

#include "agent/Document/Node.h"
#include "agent/Store/Store.h"

namespace Agent {

struct Write {
  Pith::Ptr<Kiv::Object> object;
  const Kiv::AttributeData* attribute;
  std::string key;
  const Node* node;  // what to write there; null: erase
};

struct Plan {
  std::vector<Pith::String> switchedOff;
  std::vector<Write> takenOver;  // erased before the writes
  std::vector<Write> writes;
  std::vector<Write> erasures;  // to be done from the last to the first
  std::vector<std::pair<Pith::String, const Node*>> newSources;
  std::vector<Pith::String> goneSources;
  std::vector<Pith::String> switchedOn;
  bool changesCapabilities = false;

  bool empty() const noexcept { return size() == 0; }
  std::size_t size() const noexcept {
    return switchedOff.size() + takenOver.size() + writes.size() + erasures.size() +
           newSources.size() + goneSources.size() + switchedOn.size();
  }
};

Plan planOf(Store& store, const Node& root);
void apply(const Plan& plan, Store& store);

// Disables every enabled source and enables it again: the output is what it would be from nothing.
void resync(Store& store);

}  // namespace Agent
