#include "qx/rest_request.h"

#include <iterator>

namespace {

void appendParams(CMRestParamList& target, CMRestParamList&& params) {
  target.insert(target.end(), std::make_move_iterator(params.begin()), std::make_move_iterator(params.end()));
}

}  // namespace

CMRestRequest::~CMRestRequest() = default;
CMRestGetRequest::~CMRestGetRequest() = default;
CMRestPostRequest::~CMRestPostRequest() = default;

void CMRestRequest::setURL(std::string url) { url_ = std::move(url); }

void CMRestRequest::addQueryParams(CMRestParamList params) { appendParams(query_, std::move(params)); }

void CMRestRequest::addHeaderParams(CMRestParamList params) { appendParams(headers_, std::move(params)); }
