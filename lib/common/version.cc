#include "common/version.h"

namespace yat {

const char productVersion[] = YAT_VERSION;

} // namespace yat
