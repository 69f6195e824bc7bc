#include "qx/version.h"

const char* qxObtainVersion() noexcept { return QX_VERSION; }
