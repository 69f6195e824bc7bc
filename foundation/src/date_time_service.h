// The date service of the process.
#pragma once

class ICSDateTimeService;

namespace qx {

/// Not owned; never null, never destroyed.
ICSDateTimeService* obtainDateTimeServiceInstance();

}  // namespace qx
