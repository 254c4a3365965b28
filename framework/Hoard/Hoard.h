// The slab allocator of store objects and reactors: many objects of few sizes, made and ended all
// the time, by one event thread.
//
//   void* memory = Hoard::slabAlloc(sizeof(Segment));
//   Hoard::slabFree(memory, sizeof(Segment));
//
// Up to 1 KiB the memory is a slot of a slab (SlabPool.h), aligned for 16 bytes; beyond that it
// comes from operator new. Sizes are rounded up by at most a quarter, and nothing is held beside a
// slot. A slab whose last slot is freed goes back to the system, but for one of each size.
//
// Objects that want to be counted by type derive from Kiv::SlabObject.
//
// Cost: O(1), a few instructions. Threads: once Pith::ThreadControl says threaded, under a lock.
// With AddressSanitizer all of it goes to operator new, so that every misuse is found.
#pragma once

#include <cstddef>

#include "framework/Pith/Export.h"

namespace Hoard {

// Raises std::bad_alloc.
[[nodiscard]] PITH_EXPORT void* slabAlloc(std::size_t bytes);

// `bytes` as given to slabAlloc(). A null pointer is ignored.
PITH_EXPORT void slabFree(void* memory, std::size_t bytes) noexcept;

// The memory that slabs hold, used or not.
PITH_EXPORT std::size_t slabBytesHeld() noexcept;

}  // namespace Hoard
