#include "framework/Lanx/AddressFamily.h"

#include <ostream>

namespace Lanx {

std::ostream& operator<<(std::ostream& out, AddressFamily family) {
  switch (family) {
    case AddressFamily::unspecified:
      return out << "unspecified";
    case AddressFamily::ipv4:
      return out << "ipv4";
    case AddressFamily::ipv6:
      return out << "ipv6";
  }
  return out << static_cast<unsigned>(family);
}

}  // namespace Lanx
