// Everything is hidden unless it says PITH_EXPORT: what a library exports is what its headers
// promise.
#pragma once

#define PITH_EXPORT __attribute__((visibility("default")))
