#include "common/platform_api.h"

namespace vofs {

PlatformApi api;

}  // namespace vofs
