#include "framework/Hoard/SlabPool.h"

#include <sys/mman.h>

#include <functional>
#include <memory>
#include <new>
#include <utility>

#include "framework/Hoard/Poison.h"
#include "framework/Pith/Assert.h"

namespace Hoard {

namespace {

// An unused slot that was in use before.
struct Freed {
  Freed* next;
};

constexpr std::size_t granule = 16;

// By 16 bytes up to 256, then four sizes to each doubling.
constexpr std::array<std::uint16_t, 24> slotSizes = {16,  32,  48,  64,  80,  96,  112, 128,
                                                     144, 160, 176, 192, 208, 224, 240, 256,
                                                     320, 384, 448, 512, 640, 768, 896, 1024};

// By the size in granules, rounded up.
constexpr auto sizeByGranules = [] {
  std::array<std::uint8_t, SlabPool::largestSlot / granule + 1> table{};
  std::uint8_t size = 0;
  for (std::size_t granules = 0; granules < table.size(); ++granules) {
    if (granules * granule > slotSizes[size]) ++size;
    table[granules] = size;
  }
  return table;
}();

void* map(std::size_t bytes) {
  void* memory = mmap(nullptr, bytes, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
  if (memory == MAP_FAILED) throw std::bad_alloc();
  return memory;
}

bool isAligned(const std::byte* memory) noexcept {
  return reinterpret_cast<std::uintptr_t>(memory) % SlabPool::slabBytes == 0;
}

// The system puts a mapping below the one before it, so mostly the first attempt is aligned.
std::byte* mapSlab() {
  constexpr std::size_t bytes = SlabPool::slabBytes;
  auto* memory = static_cast<std::byte*>(map(bytes));
  if (isAligned(memory)) return memory;
  munmap(memory, bytes);
  memory = static_cast<std::byte*>(map(2 * bytes));
  const std::size_t before = bytes - reinterpret_cast<std::uintptr_t>(memory) % bytes;
  munmap(memory, before);
  munmap(memory + before + bytes, bytes - before);
  return memory + before;
}

}  // namespace

struct alignas(64) SlabPool::Slab {
  Slab* next = nullptr;
  Slab* previous = nullptr;
  Freed* freed = nullptr;
  std::uint32_t used = 0;
  std::uint32_t touched = 0;  // slots that have been in use, now or before
  std::uint32_t slots;
  std::uint32_t slotBytes;

  explicit Slab(std::uint32_t bytesOfSlot) noexcept
      : slots(static_cast<std::uint32_t>((slabBytes - sizeof(Slab)) / bytesOfSlot)),
        slotBytes(bytesOfSlot) {
    poison(this + 1, slabBytes - sizeof(Slab));
  }

  static Slab* of(void* slot) noexcept {
    const auto offset = reinterpret_cast<std::uintptr_t>(slot) % slabBytes;
    return reinterpret_cast<Slab*>(static_cast<std::byte*>(slot) - offset);
  }

  bool isFull() const noexcept { return used == slots; }

  void* take() noexcept {
    ++used;
    if (freed != nullptr) {
      unpoison(freed, slotBytes);
      return std::exchange(freed, freed->next);
    }
    std::byte* slot = reinterpret_cast<std::byte*>(this + 1) + std::size_t{touched} * slotBytes;
    ++touched;
    unpoison(slot, slotBytes);
    return slot;
  }
  void give(void* slot) noexcept {
    --used;
    freed = std::construct_at(static_cast<Freed*>(slot), Freed{freed});
    poison(slot, slotBytes);
  }
  void forgetFreed() noexcept {
    freed = nullptr;
    touched = 0;
  }

  void linkInto(Slab*& list) noexcept {
    previous = nullptr;
    next = std::exchange(list, this);
    if (next != nullptr) next->previous = this;
  }
  void unlinkFrom(Slab*& list) const noexcept {
    (previous == nullptr ? list : previous->next) = next;
    if (next != nullptr) next->previous = previous;
  }
};

std::size_t SlabPool::sizeOf(std::size_t bytes) noexcept {
  return sizeByGranules[(bytes + granule - 1) / granule];
}

std::size_t SlabPool::slotBytes(std::size_t bytes) noexcept { return slotSizes[sizeOf(bytes)]; }

SlabPool::~SlabPool() {
  for (Size& size : sizes_) {
    for (Slab*& list : {std::ref(size.open), std::ref(size.full), std::ref(size.spare)}) {
      while (list != nullptr) slabEnd(std::exchange(list, list->next));
    }
  }
}

void* SlabPool::alloc(std::size_t bytes) {
  const std::size_t at = sizeOf(bytes);
  Size& size = sizes_[at];
  if (size.open == nullptr) {
    Slab* slab = size.spare != nullptr ? std::exchange(size.spare, nullptr) : slabMade(at);
    slab->linkInto(size.open);
  }
  Slab* slab = size.open;
  void* slot = slab->take();
  if (slab->isFull()) {
    slab->unlinkFrom(size.open);
    slab->linkInto(size.full);
  }
  return slot;
}

void SlabPool::free(void* slot, std::size_t bytes) noexcept {
  Size& size = sizes_[sizeOf(bytes)];
  Slab* slab = Slab::of(slot);
  PITH_ASSERT(slab->slotBytes == slotBytes(bytes));
  if (slab->isFull()) {
    slab->unlinkFrom(size.full);
    slab->linkInto(size.open);
  }
  slab->give(slot);
  if (slab->used != 0) return;
  slab->unlinkFrom(size.open);
  if (size.spare == nullptr) {
    slab->next = nullptr;
    slab->forgetFreed();
    size.spare = slab;
  } else {
    slabEnd(slab);
  }
}

SlabPool::Slab* SlabPool::slabMade(std::size_t size) {
  std::byte* memory = mapSlab();
  ++slabs_;
  return std::construct_at(reinterpret_cast<Slab*>(memory), slotSizes[size]);
}

void SlabPool::slabEnd(Slab* slab) noexcept {
  unpoison(slab, slabBytes);
  munmap(slab, slabBytes);
  --slabs_;
}

}  // namespace Hoard
