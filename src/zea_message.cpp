#include "zea_message.h"

ZEAMessage::~ZEAMessage() {
  for (IZEAMessageSection* section : sections) delete section;
}
