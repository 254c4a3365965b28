#include "tests/framework/Kiv/TestTypes.h"

#include "tests/framework/Kiv/IndexedBox.h"

KIV_ENTITY_DEFINE(KivTest::Leaf)
KIV_ENTITY_DEFINE(KivTest::Box)
KIV_ENTITY_DEFINE(KivTest::NamedBox)
KIV_ENTITY_DEFINE(KivTest::Branch)
KIV_ENTITY_DEFINE(KivTest::Tree)
KIV_ENTITY_DEFINE(KivTest::IndexedBox)
