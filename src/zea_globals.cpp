// SPDX-License-Identifier: Apache-2.0
#include "zea_globals.h"

#include "qx/internal/process_end.h"

namespace zea {

ZEACallback gCallback = nullptr;

namespace {

/// What unloading the library destroys, and the end of the process leaves as it is.
struct UnloadedSettings {
  CMRestGlobalSettings* const settings = new CMRestGlobalSettings;
  ~UnloadedSettings() {
    if (!qx::isProcessEnding()) delete settings;
  }
};

CMRestGlobalSettings* makeSettings() {
  static const UnloadedSettings owner;
  qx::watchForProcessEnd();  // its destructor has been registered by now
  return owner.settings;
}

}  // namespace

CMRestGlobalSettings& gRestSettings() {
  static CMRestGlobalSettings* const settings = makeSettings();
  return *settings;
}

}  // namespace zea
