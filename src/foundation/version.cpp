// zel tessel2d: planar and surface mesh tools.
#include "zel/tessel2d/version.h"

namespace zel::tessel2d {

char const* version() {
    return "5.5.0.0";
}

} // namespace zel::tessel2d
