// Checks a document against the schema and rewrites it into the shape of the store.
//
//   Document document = load(files, diagnostics);
//   check(document, diagnostics);                    // every error, not the first alone
//   const Node& app = *document.root.find("app");    // mappings by key, texts as the store writes
//
// After it every member of an object is named as an attribute is, and
//   - a value is a scalar with the canonical text;
//   - a set has its values as the keys of its members;
//   - a collection has canonical keys; a record among its values has its whole text form as `text`;
//   - children are members by canonical key, an only child has its name as `text`;
//   - a source has the class maps of its segments, and each segment with interfaces its className.
// What is wrong is left out, so that later passes see no broken parts.
//
// Cost: one walk, a hash table for each mapping or list of more than 16 members.
#pragma once

#include "agent/Document/Diagnostics.h"
#include "agent/Document/Load.h"

namespace Agent {

void check(Document& document, Diagnostics& diagnostics);

}  // namespace Agent
