#include "framework/Kiv/TypeName.h"

#include <gtest/gtest.h>

#include "framework/Kiv/CharRange.h"
#include "framework/Pith/String.h"

namespace Kiv {

// Where a function in Kiv would be told the name without it.
TEST(TypeNameTest, namespaceIsIncludedAlsoInsideOfIt) {
  EXPECT_EQ(typeNameOf<CharRange>(), "Kiv::CharRange");
  EXPECT_EQ(typeNameOf<Pith::String>(), "Pith::String");
}

static_assert(typeNameOf<bool>() == "bool");

}  // namespace Kiv
