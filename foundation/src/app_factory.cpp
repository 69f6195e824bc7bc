#include "qx/app_factory.h"

#include <memory>

#include "date_time_service.h"
#include "rest_services.h"

using namespace qx;

namespace {

class AppFactory final : public ICSAppFactory {
 public:
  ICSRestClientFactory* obtainRestClientFactory() override { return obtainRestClientFactoryInstance(); }
  ICSErrorService* obtainErrorService() override { return obtainErrorServiceInstance(); }
  ICSDateTimeService* obtainDateTimeService() override { return obtainDateTimeServiceInstance(); }
};

}  // namespace

ICSAppFactory::~ICSAppFactory() = default;

ICSAppFactory* QX::obtainAppFactory() {
  // Never destroyed, so that a host's own static objects may still make calls while they go.
  static AppFactory* const factory = std::make_unique<AppFactory>().release();
  return factory;
}
