// In this program the slabs of store objects and reactors are memory like any other, so that it can
// run out there as well. The libraries find these functions instead of their own.
#include "framework/Hoard/Hoard.h"

#include <new>

namespace Hoard {

void* slabAlloc(std::size_t bytes) { return ::operator new(bytes); }
void slabFree(void* memory, std::size_t /*bytes*/) noexcept { ::operator delete(memory); }
std::size_t slabBytesHeld() noexcept { return 0; }

}  // namespace Hoard
