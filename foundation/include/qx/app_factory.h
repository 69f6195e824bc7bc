// SPDX-License-Identifier: Apache-2.0
// The way to all services of libqx.
#pragma once

#include "qx/export.h"

class ICSDateTimeService;
class ICSErrorService;
class ICSRestClientFactory;

/// The services of the process. They live as long as the process, are not owned, and any thread may use them.
class QX_API ICSAppFactory {
 public:
  virtual ~ICSAppFactory();
  virtual ICSRestClientFactory* obtainRestClientFactory() = 0;
  virtual ICSErrorService* obtainErrorService() = 0;
  virtual ICSDateTimeService* obtainDateTimeService() = 0;
};

namespace QX {
/// Not owned; never null.
QX_API ICSAppFactory* obtainAppFactory();
}  // namespace QX
