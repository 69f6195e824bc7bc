// SPDX-License-Identifier: Apache-2.0
#include "qx/rest_request.h"

#include <iterator>

#include "qx/secret.h"

namespace qx {

namespace {

void appendParams(CMRestParamList& target, CMRestParamList&& params) {
  target.insert(target.end(), std::make_move_iterator(params.begin()), std::make_move_iterator(params.end()));
  qxWipe(params);  // a short text is copied when it is moved
}

}  // namespace

}  // namespace qx

using namespace qx;

CMRestRequest::~CMRestRequest() {
  qxWipe(url_);
  qxWipe(query_);
  qxWipe(headers_);
}

CMRestGetRequest::~CMRestGetRequest() = default;
CMRestPostRequest::~CMRestPostRequest() = default;

void CMRestRequest::setURL(std::string url) {
  // The URL before may have held a key, and now is in the parameter.
  url_.swap(url);
  qxWipe(url);
}

void CMRestRequest::addQueryParams(CMRestParamList params) { appendParams(query_, std::move(params)); }

void CMRestRequest::addHeaderParams(CMRestParamList params) { appendParams(headers_, std::move(params)); }
