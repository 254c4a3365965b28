#pragma once

// A finding in a header of ours has to be told too.
struct MustFailTidy {
  MustFailTidy(int value) : value_(value) {}

 private:
  int value_;
};
