// SPDX-License-Identifier: Apache-2.0
// libqx: values, JSON and REST calls. This header includes all of it.
#pragma once

#include "qx/app_factory.h"
#include "qx/assertion.h"
#include "qx/date_time.h"
#include "qx/defer.h"
#include "qx/http_pool_center.h"
#include "qx/json.h"
#include "qx/rest_client.h"
#include "qx/rest_error.h"
#include "qx/rest_request.h"
#include "qx/rest_response.h"
#include "qx/rest_session.h"
#include "qx/rest_settings.h"
#include "qx/secret.h"
#include "qx/text.h"
#include "qx/variant.h"
#include "qx/version.h"
