#include "framework/Lanx/RangeMaskGen.h"

namespace Lanx {

template class RangeMaskGen<unsigned short>;

}  // namespace Lanx
