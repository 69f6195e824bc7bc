// The date service of the process.
#pragma once

class ICSDateTimeService;

/// Not owned; never null, never destroyed.
ICSDateTimeService* obtainDateTimeServiceInstance();
