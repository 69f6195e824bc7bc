// The services of the REST client, as the app factory hands them out. They live as long as the process.
#pragma once

class ICSErrorService;
class ICSRestClientFactory;

namespace qx {

ICSErrorService* obtainErrorServiceInstance();
ICSRestClientFactory* obtainRestClientFactoryInstance();

}  // namespace qx
