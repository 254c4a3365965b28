// Slots of up to 1 KiB in slabs of 64 KiB; a slab's slots are of one size.
//
//   Hoard::SlabPool pool;
//   void* slot = pool.alloc(100);   // of 112 bytes
//   pool.free(slot, 100);
//
// A slab is mapped at a multiple of its size, so that a slot's address tells its slab. Slots are
// given out in ascending order first, then those last freed. Of each size at most one slab without
// used slots is kept; the others are unmapped at once. The destructor unmaps all, used or not.
//
// With AddressSanitizer, slots that are not in use are poisoned. Not for several threads: Hoard.h
// has the pool that all share.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

#include "framework/Pith/Export.h"

namespace Hoard {

class PITH_EXPORT SlabPool {
 public:
  static constexpr std::size_t largestSlot = 1024;
  static constexpr std::size_t slabBytes = std::size_t{64} * 1024;

  constexpr SlabPool() noexcept = default;
  SlabPool(const SlabPool&) = delete;
  SlabPool& operator=(const SlabPool&) = delete;
  ~SlabPool();

  // Precondition: bytes <= largestSlot. Raises std::bad_alloc.
  void* alloc(std::size_t bytes);

  // `bytes` as given to alloc().
  void free(void* slot, std::size_t bytes) noexcept;

  // How many slabs are held.
  std::size_t slabs() const noexcept { return slabs_; }

  // The bytes of the slot that holds `bytes`.
  static std::size_t slotBytes(std::size_t bytes) noexcept;

 private:
  static constexpr std::size_t sizes = 24;

  struct Slab;
  struct Size {
    Slab* open = nullptr;   // slabs with used and unused slots, linked
    Slab* full = nullptr;   // slabs without unused slots, linked
    Slab* spare = nullptr;  // the one kept without used slots
  };

  static std::size_t sizeOf(std::size_t bytes) noexcept;
  Slab* slabMade(std::size_t size);
  void slabEnd(Slab* slab) noexcept;

  std::array<Size, sizes> sizes_{};
  std::size_t slabs_ = 0;
};

}  // namespace Hoard
