#include "standin/wire_format.h"

namespace standin {

std::string pathOf(const Request& request) { return request.target.substr(0, request.target.find('?')); }

}  // namespace standin
