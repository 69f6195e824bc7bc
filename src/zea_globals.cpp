#include "zea_globals.h"

ZEACallback gCallback = nullptr;
CMRestGlobalSettings gRestSettings;
