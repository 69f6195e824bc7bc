// SPDX-License-Identifier: Apache-2.0
#include "zea_message.h"

ZEAMessage::~ZEAMessage() {
  for (IZEAMessageSection* section : sections) delete section;
}
