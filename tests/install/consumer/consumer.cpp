// A program outside of the tree: an error raised by the installed library is caught as its own
// type.
#include <framework/Pith/RangeException.h>

#include <cstdio>
#include <cstring>

int main() {
  try {
    Pith::RangeException::throwException("Consumer::value > 1");
  } catch (const Pith::RangeException& error) {
    std::puts(error.what());
    return std::strcmp(error.what(), "Consumer::value > 1 not allowed") == 0 ? 0 : 1;
  }
}
