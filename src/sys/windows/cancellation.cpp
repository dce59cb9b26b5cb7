#include "cancellation.h"

namespace zel::sys {

CancellationWaits::CancellationWaits() = default;
CancellationWaits::~CancellationWaits() = default;

} // namespace zel::sys
