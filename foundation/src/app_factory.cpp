// SPDX-License-Identifier: Apache-2.0
#include "qx/app_factory.h"

#include <memory>

#include "date_time.h"
#include "rest_client.h"
#include "rest_error.h"

namespace qx {

namespace {

class AppFactory final : public ICSAppFactory {
 public:
  ICSRestClientFactory* obtainRestClientFactory() override { return obtainRestClientFactoryInstance(); }
  ICSErrorService* obtainErrorService() override { return obtainErrorServiceInstance(); }
  ICSDateTimeService* obtainDateTimeService() override { return obtainDateTimeServiceInstance(); }
};

}  // namespace

}  // namespace qx

using namespace qx;

ICSAppFactory::~ICSAppFactory() = default;

ICSAppFactory* QX::obtainAppFactory() {
  // Never destroyed, so that a host's own static objects may still make calls while they go.
  static AppFactory* const factory = std::make_unique<AppFactory>().release();
  return factory;
}
