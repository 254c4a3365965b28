#include "framework/Pith/String.h"

#include <limits>
#include <new>
#include <ostream>

#include "framework/Pith/Hash.h"
#include "framework/Pith/RangeException.h"

namespace Pith {

String::String(std::string_view text) {
  if (text.empty()) return;
  if (text.size() >= std::numeric_limits<std::uint32_t>::max() - sizeof(Rep)) {
    RangeException::throwException("Pith::String::bytes > 4294967295");
  }
  void* memory = ::operator new(sizeof(Rep) + text.size() + 1);
  rep_ = new (memory) Rep{UseCount{1}, static_cast<std::uint32_t>(text.size()),
                          hashBytes(text.data(), text.size())};
  std::memcpy(rep_->text(), text.data(), text.size());
  rep_->text()[text.size()] = '\0';
}

void String::destroy(Rep* rep) noexcept {
  rep->~Rep();
  ::operator delete(rep);
}

std::ostream& operator<<(std::ostream& out, const String& string) { return out << string.view(); }

}  // namespace Pith
