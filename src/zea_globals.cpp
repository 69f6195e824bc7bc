#include "zea_globals.h"

#include "qx/process_end.h"

namespace zea {

ZEACallback gCallback = nullptr;

namespace {

/// What unloading the library destroys, and the end of the process leaves as it is.
struct UnloadedSettings {
  CMRestGlobalSettings* const settings = new CMRestGlobalSettings;
  ~UnloadedSettings() {
    if (!qxIsProcessEnding()) delete settings;
  }
};

CMRestGlobalSettings* makeSettings() {
  static const UnloadedSettings owner;
  qxWatchForProcessEnd();  // its destructor has been registered by now
  return owner.settings;
}

}  // namespace

CMRestGlobalSettings& gRestSettings() {
  static CMRestGlobalSettings* const settings = makeSettings();
  return *settings;
}

}  // namespace zea
