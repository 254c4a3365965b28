// Every store type of the model, and how to make an object of it.
#pragma once

#include "tests/support/Subject.h"

namespace ModelTest {

const TestSupport::Makers& makers();

}  // namespace ModelTest
