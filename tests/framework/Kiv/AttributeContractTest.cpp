// Every kind of attribute keeps the contract, with and without an index beside it.
#include "tests/support/AttributeContract.h"

#include <gtest/gtest.h>

#include "tests/framework/Kiv/IndexedBox.h"
#include "tests/framework/Kiv/TestTypes.h"
#include "tests/support/Subject.h"

namespace TestSupport {
namespace {

const Makers& makers() {
  static const Makers makers{
      {&KivTest::Leaf::staticTypeData(), [] { return Kiv::make<KivTest::Leaf>("leaf"); }},
      {&KivTest::NamedBox::staticTypeData(), [] { return Kiv::make<KivTest::NamedBox>(); }},
      {&KivTest::IndexedBox::staticTypeData(), [] { return Kiv::make<KivTest::IndexedBox>(); }},
  };
  return makers;
}

INSTANTIATE_TEST_SUITE_P(Kiv, ValueContract, testing::ValuesIn(subjectsOf(makers(), isValue)),
                         nameOfSubject);
INSTANTIATE_TEST_SUITE_P(Kiv, ChildContract, testing::ValuesIn(subjectsOf(makers(), isChild)),
                         nameOfSubject);
INSTANTIATE_TEST_SUITE_P(Kiv, EntryContract, testing::ValuesIn(subjectsOf(makers(), isKeyed)),
                         nameOfSubject);
INSTANTIATE_TEST_SUITE_P(Kiv, MapContract, testing::ValuesIn(subjectsOf(makers(), isMap)),
                         nameOfSubject);

}  // namespace
}  // namespace TestSupport
