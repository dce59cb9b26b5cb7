#include "other_protocols.h"

namespace zel::bench {

std::vector<OtherProtocol>& otherProtocols()
{
    static std::vector<OtherProtocol> instance;
    return instance;
}

} // namespace zel::bench
