// Memory that is held but must not be touched: AddressSanitizer is told, so that a read of a freed
// slot or of an erased entry is found although the bytes still belong to us. Nothing without it.
#pragma once

#include <cstddef>

#if defined(__SANITIZE_ADDRESS__)
#define HOARD_ADDRESS_SANITIZER 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
#define HOARD_ADDRESS_SANITIZER 1
#endif
#endif

#ifdef HOARD_ADDRESS_SANITIZER
#include <sanitizer/asan_interface.h>
#endif

namespace Hoard {

#ifdef HOARD_ADDRESS_SANITIZER
inline constexpr bool addressSanitizer = true;
inline void poison(const void* memory, std::size_t bytes) noexcept {
  __asan_poison_memory_region(memory, bytes);
}
inline void unpoison(const void* memory, std::size_t bytes) noexcept {
  __asan_unpoison_memory_region(memory, bytes);
}
#else
inline constexpr bool addressSanitizer = false;
inline void poison(const void*, std::size_t) noexcept {}
inline void unpoison(const void*, std::size_t) noexcept {}
#endif

}  // namespace Hoard
