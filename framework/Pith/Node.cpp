#include "framework/Pith/Node.h"

namespace Pith {

std::atomic<bool> ThreadControl::threaded_{false};

Node::~Node() = default;

void Node::onLastUse() noexcept { delete this; }

}  // namespace Pith
