// Every attribute of every type of the model keeps the contract of its kind.
#include <gtest/gtest.h>

#include "tests/model/ModelTypes.h"
#include "tests/support/AttributeContract.h"
#include "tests/support/Subject.h"

namespace TestSupport {
namespace {

using ModelTest::makers;

INSTANTIATE_TEST_SUITE_P(Model, ValueContract, testing::ValuesIn(subjectsOf(makers(), isValue)),
                         nameOfSubject);
INSTANTIATE_TEST_SUITE_P(Model, ChildContract, testing::ValuesIn(subjectsOf(makers(), isChild)),
                         nameOfSubject);
INSTANTIATE_TEST_SUITE_P(Model, EntryContract, testing::ValuesIn(subjectsOf(makers(), isKeyed)),
                         nameOfSubject);
INSTANTIATE_TEST_SUITE_P(Model, MapContract, testing::ValuesIn(subjectsOf(makers(), isMap)),
                         nameOfSubject);

}  // namespace
}  // namespace TestSupport
